#pragma once

#include <string>

namespace helperkit {

/// Why an administrator scan or handshake failed, with the text shown to the user.
struct HelperError {
    enum class Kind {
        connection, ///< the helper could not be reached or went away (`detail` says how)
        helper,     ///< the helper refused (`detail` is its message)
        incomplete  ///< fewer batches arrived than the helper announced
    };
    Kind kind = Kind::connection;
    std::string detail;

    static HelperError connection(std::string detail) {
        return {Kind::connection, std::move(detail)};
    }
    static HelperError helper(std::string message) { return {Kind::helper, std::move(message)}; }
    static HelperError incomplete() { return {Kind::incomplete, {}}; }

    /// "Couldn't reach the administrator helper (DETAIL).", the helper's message itself, or
    /// "The administrator scan arrived incomplete."
    std::string description() const;

    friend bool operator==(const HelperError&, const HelperError&) = default;
};

} // namespace helperkit

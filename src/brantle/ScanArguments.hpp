#pragma once

#include "Command.hpp"

#include <optional>
#include <string>

namespace brantle::cli {

/// The arguments of the commands that scan one place: OPERAND [--workers N] [--json], plus
/// [--save FILE] for the commands that accept it.
struct ScanArguments {
    std::string operand; ///< as given, never empty
    int workers = 1;     ///< processors online unless --workers says otherwise
    bool json = false;
    std::optional<std::string> save; ///< never empty when present

    /// No value when an option is unknown or lacks its value, or the operand is missing,
    /// empty or repeated.
    static std::optional<ScanArguments> parse(Arguments args, bool acceptsSave);
};

} // namespace brantle::cli

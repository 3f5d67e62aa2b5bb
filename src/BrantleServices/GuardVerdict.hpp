#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace brantle {

class DeletionGuard;

/// A removal the deletion guard allowed: the standardised path and the optional caution
/// sentence shown beside the item before the user confirms. Only the guard makes them, so
/// whatever the recycler and the eraser receive has been screened.
class GuardedRemoval {
public:
    /// The standardised absolute path to remove.
    const std::string& path() const { return path_; }
    /// The caution sentence, absent when there is nothing to warn about.
    const std::optional<std::string>& caution() const { return caution_; }

    bool operator==(const GuardedRemoval&) const = default;

private:
    friend class DeletionGuard;
    GuardedRemoval(std::string path, std::optional<std::string> caution)
        : path_(std::move(path)), caution_(std::move(caution)) {}

    std::string path_;
    std::optional<std::string> caution_;
};

/// The guard's answer: allowed with a removal, or blocked with the reason shown to the user.
class GuardVerdict {
public:
    static GuardVerdict allowed(GuardedRemoval removal) { return GuardVerdict(std::move(removal)); }
    static GuardVerdict blocked(std::string reason) { return GuardVerdict(std::move(reason)); }

    bool isAllowed() const { return value_.index() == 0; }
    /// The allowed removal, or null when blocked.
    const GuardedRemoval* removal() const { return std::get_if<GuardedRemoval>(&value_); }
    /// The reason when blocked, or empty when allowed.
    std::string_view reason() const {
        const auto* text = std::get_if<std::string>(&value_);
        return text ? std::string_view(*text) : std::string_view();
    }

    bool operator==(const GuardVerdict&) const = default;

private:
    explicit GuardVerdict(std::variant<GuardedRemoval, std::string> value)
        : value_(std::move(value)) {}

    std::variant<GuardedRemoval, std::string> value_;
};

} // namespace brantle

template <> struct std::hash<brantle::GuardedRemoval> {
    std::size_t operator()(const brantle::GuardedRemoval& removal) const noexcept {
        const std::size_t h = std::hash<std::string>{}(removal.path());
        const auto& caution = removal.caution();
        return h ^ (std::hash<std::optional<std::string>>{}(caution) + 0x9e3779b97f4a7c15ULL +
                    (h << 6) + (h >> 2));
    }
};

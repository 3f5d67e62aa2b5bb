#pragma once

#include "BrantleServices/PlatformProfile.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brantle {

/// The deletion guard's rule table over a platform profile whose home-relative folders have
/// been resolved against one home folder. Every path given is already standardised.
class GuardRules {
public:
    using RunningAppPredicate = std::function<bool(const std::string& path)>;

    GuardRules(const PlatformProfile& profile, const std::string& home, std::string appBundle,
               RunningAppPredicate isRunningApp);

    /// The reason the path may not be removed (the first matching rule), or none.
    std::optional<std::string> blockReason(std::string_view path) const;
    /// The caution for an allowed path (the first matching caution rule), or none.
    std::optional<std::string> caution(std::string_view path) const;

private:
    std::optional<std::string> placeReason(std::string_view path) const;
    std::optional<std::string> packageReason(std::string_view path) const;
    std::optional<std::string> structureReason(std::string_view path) const;
    bool isDisposableAppData(std::string_view path) const;
    std::optional<std::string> dotEntryCaution(std::string_view path) const;

    PlatformProfile profile_; // with every "~" resolved
    std::string home_;
    std::string appBundle_;
    RunningAppPredicate isRunningApp_;
};

} // namespace brantle

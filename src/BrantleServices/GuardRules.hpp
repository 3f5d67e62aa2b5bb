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

    /// `homes` holds the home folder as given and, when it differs, its real path: both name
    /// the same folders, so a home reached through a linked "/home" is protected either way.
    GuardRules(const PlatformProfile& profile, const std::vector<std::string>& homes,
               std::string appBundle, RunningAppPredicate isRunningApp);

    /// The reason the path may not be removed (the first matching rule), or none.
    std::optional<std::string> blockReason(std::string_view path) const;
    /// The caution for an allowed path (the first matching caution rule), or none.
    std::optional<std::string> caution(std::string_view path) const;

private:
    // `path` is the path as compared (case-folded where the profile says so); `original` is
    // the path as given, for the questions asked of the system.
    std::optional<std::string> placeReason(std::string_view path,
                                           const std::string& original) const;
    std::optional<std::string> packageReason(std::string_view path) const;
    std::optional<std::string> structureReason(std::string_view path) const;
    bool isTrashFolder(std::string_view path) const;
    bool isDisposableAppData(std::string_view path) const;
    std::optional<std::string> dotEntryCaution(std::string_view path,
                                               const std::string& original) const;
    std::string compared(std::string_view path) const;

    PlatformProfile profile_; // with every "~" resolved
    std::vector<std::string> homes_;
    std::string appBundle_;
    RunningAppPredicate isRunningApp_;
};

} // namespace brantle

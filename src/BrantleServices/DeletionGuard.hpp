#pragma once

#include "BrantleServices/GuardRules.hpp"
#include "BrantleServices/GuardVerdict.hpp"
#include "BrantleServices/PlatformProfile.hpp"

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>

namespace brantle {

/// Screens every path before anything is removed: blocked with a reason for the user, or
/// allowed as a `GuardedRemoval` with an optional caution. An immutable value; `check` may be
/// called from any thread.
class DeletionGuard {
public:
    /// Says whether a standardised path is the bundle (executable) of a running application;
    /// must be safe to call from any thread.
    using RunningAppPredicate = GuardRules::RunningAppPredicate;

    /// A guard for the given home folder and application path (both standardised here).
    DeletionGuard(
        std::string_view home, std::string_view appBundle, RunningAppPredicate isRunningApp,
        const std::shared_ptr<const PlatformProfile>& profile = PlatformProfile::current());

    /// The guard of the running application: this user's home, this program and the
    /// applications running now (taken once, so make a fresh guard for each review).
    static DeletionGuard
    live(const std::shared_ptr<const PlatformProfile>& profile = PlatformProfile::current());

    /// The verdict on a path; relative paths are blocked, never resolved.
    GuardVerdict check(std::string_view path) const;

    const std::string& home() const { return home_; }
    const std::string& appBundle() const { return appBundle_; }
    const RunningAppPredicate& isRunningApp() const { return isRunningApp_; }

private:
    std::string home_;
    std::string appBundle_;
    RunningAppPredicate isRunningApp_;
    std::shared_ptr<const GuardRules> rules_;
};

/// Hidden folders in the home folder that their tools rebuild, so removing them needs no
/// caution.
const std::set<std::string, std::less<>>& regenerableDotFolders();

} // namespace brantle

#pragma once

#include "BrantleServices/DeletionGuard.hpp"

#include <stdexcept>
#include <vector>

// The Linux guard with no mount points and no running applications, for handing temporary
// items to the recycler and the eraser.
inline brantle::GuardedRemoval allowed(const std::string& path) {
    auto profile = brantle::PlatformProfile::linux();
    profile.isMountPoint = nullptr;
    const brantle::DeletionGuard guard("/nonexistent/home", "/nonexistent/app", nullptr,
                                       std::make_shared<const brantle::PlatformProfile>(profile));
    const auto verdict = guard.check(path);
    if (!verdict.isAllowed()) throw std::runtime_error("blocked: " + path);
    return *verdict.removal();
}

inline std::vector<brantle::GuardedRemoval> allowedRemovals(const std::vector<std::string>& paths) {
    std::vector<brantle::GuardedRemoval> removals;
    for (const auto& path : paths)
        removals.push_back(allowed(path));
    return removals;
}

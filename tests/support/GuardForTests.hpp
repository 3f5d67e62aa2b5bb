#pragma once

#include "BrantleServices/DeletionGuard.hpp"

#include <stdexcept>
#include <vector>

// The Linux guard for this home with no mount points and no running applications, so that the
// recycler and the eraser face mount points themselves.
inline brantle::DeletionGuard linuxGuard(const std::string& home = "/nonexistent/home") {
    auto profile = brantle::PlatformProfile::linux();
    profile.isMountPoint = nullptr;
    return brantle::DeletionGuard(
        home, "/nonexistent/app", nullptr,
        std::make_shared<const brantle::PlatformProfile>(std::move(profile)));
}

// A temporary item handed to the recycler or the eraser.
inline brantle::GuardedRemoval allowed(const std::string& path) {
    const auto verdict = linuxGuard().check(path);
    if (!verdict.isAllowed()) throw std::runtime_error("blocked: " + path);
    return *verdict.removal();
}

inline std::vector<brantle::GuardedRemoval> allowedRemovals(const std::vector<std::string>& paths) {
    std::vector<brantle::GuardedRemoval> removals;
    for (const auto& path : paths)
        removals.push_back(allowed(path));
    return removals;
}

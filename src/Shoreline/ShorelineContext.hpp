#pragma once

#include "BrantleCore/FileTree.hpp"
#include "BrantleServices/DeletionGuard.hpp"
#include "BrantleServices/PlatformProfile.hpp"
#include "Shoreline/SuggestionFolders.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace shoreline {

/// Everything a rule may read. Made from the tree, the home folder and the guard; the other
/// fields take their defaults and may be overwritten.
struct ShorelineContext {
    /// Last-used date of a path, in seconds since 1970.
    using LastUsedFunction = std::function<std::optional<std::int64_t>(const std::string& path)>;

    ShorelineContext(const brantle::FileTree& tree, std::string_view home,
                     brantle::DeletionGuard guardian,
                     std::shared_ptr<const brantle::PlatformProfile> profile =
                         brantle::PlatformProfile::current());

    const brantle::FileTree& tree;
    /// Absolute, without a trailing "/".
    std::string home;
    brantle::DeletionGuard guardian;
    /// Seconds since 1970; the time the context was made.
    std::int64_t now;
    /// Applications running now; caches named after them are left alone.
    std::set<std::string, std::less<>> runningBundleIDs;
    LastUsedFunction lastUsed;
    std::uint64_t duplicateMinBytes = 52'428'800;
    std::uint64_t largeFileMinBytes = 524'288'000;
    /// Where this system keeps the folders the rules read.
    std::shared_ptr<const brantle::PlatformProfile> profile;
    /// The home-relative folders the rules read; those of the profile's system by default.
    SuggestionFolders suggestionFolders;
    /// Folders the user keeps out of scans: nothing at, inside or around them is proposed.
    std::set<std::string, std::less<>> excludedPaths;

    /// The children of home + "/" + `relative`; empty when that is not in the tree.
    std::vector<brantle::NodeId> children(std::string_view relative) const;
    /// The node at home + "/" + `relative`; an empty `relative` names no place.
    std::optional<brantle::NodeId> node(std::string_view relative) const;
    /// The node of the home folder itself.
    std::optional<brantle::NodeId> homeNode() const;
    /// Whole days from the node's modification time to `now`, truncated toward zero.
    std::int64_t ageInDays(brantle::NodeId node) const;
    /// Whole days from `time` (seconds since 1970) to `now`, truncated toward zero.
    std::int64_t daysSince(std::int64_t time) const;
    /// Days since the item was last changed or, when known and more recent, last opened.
    std::int64_t idleDays(brantle::NodeId node, const std::string& path) const;
    const SuggestionFolders& folders() const { return suggestionFolders; }
};

} // namespace shoreline

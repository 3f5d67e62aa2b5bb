#pragma once

#include "BrantleServices/GuardVerdict.hpp"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace brantle {

/// What became of one removal sent to the Trash.
struct RecycleOutcome {
    /// The item's path before the move.
    std::string original;
    /// The item's path inside the Trash; absent when the move failed.
    std::optional<std::string> trashed;
    /// The platform's description of the failure; absent on success.
    std::optional<std::string> error;

    bool operator==(const RecycleOutcome&) const = default;
};

/// Moves allowed removals to the Trash (the freedesktop.org Trash: the home trash, or the
/// volume's own trash for an item on another volume).
namespace Recycler {

/// Moves the items one at a time, in order, and reports one outcome per item; a failure does
/// not stop the others. Each item is reached through its judged path without following links
/// and moved relative to its folder's descriptor; one reached through a link, or that is a
/// mount point, fails with its reason. Blocks until every item is handled, so call it off the
/// main thread.
std::vector<RecycleOutcome> recycle(std::span<const GuardedRemoval> removals);

} // namespace Recycler

} // namespace brantle

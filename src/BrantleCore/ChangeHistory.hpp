#pragma once

#include "BrantleCore/ChangeSet.hpp"

#include <chrono>
#include <cstdint>
#include <string_view>

namespace brantle {

class FileTree;

/// Which folders under a scanned root changed since a snapshot was taken.
///
/// macOS replays the file-system event history from the snapshot's event id. Linux keeps no
/// such history: there the event id is the wall-clock time in nanoseconds, and a folder of the
/// loaded tree counts as changed when its change or modification time is at or after that
/// time less `timestampMargin`. Known limit on Linux: a file that grows in place does not
/// touch its folder, so its new size is seen only when its folder changes or at the next full
/// scan.
namespace ChangeHistory {

using EventID = std::uint64_t;

/// Timestamps come from a coarser clock than the one read for an event id, and some file
/// systems keep whole or two-second times; reading a folder too many is harmless.
inline constexpr std::chrono::nanoseconds timestampMargin = std::chrono::seconds(5);

/// The event id to store with a snapshot; read it before the scan starts, so that changes
/// made while scanning are caught up later.
EventID currentEventID();

/// The folders under `under` that changed since `since`, or `fullRescanNeeded` on any doubt
/// (no history, dropped events, a changed or missing root, a clock earlier than `since`, or
/// no answer within `timeout`). Blocks for at most `timeout`. `known` is the tree loaded from
/// the snapshot; Linux checks its folders, macOS ignores it. `margin` is for Linux only.
ChangeSet changedDirectories(std::string_view under, EventID since,
                             std::chrono::duration<double> timeout, const FileTree& known,
                             std::chrono::nanoseconds margin = timestampMargin);

} // namespace ChangeHistory

} // namespace brantle

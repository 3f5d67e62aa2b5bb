#pragma once

#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <chrono>
#include <optional>
#include <string_view>

namespace brantle {

/// A tree brought up to date, the record to save with it, and how it was done.
struct CatchUpResult {
    enum class Mode { catchUp, rescan };

    FileTree tree; ///< compact: only live, reachable nodes
    SnapshotMeta meta;
    Mode mode = Mode::rescan;
    std::size_t reread = 0; ///< folders read again (every folder for a rescan)
};

/// Seconds since 1970-01-01 UTC, as a snapshot record keeps its scan time.
double secondsSince1970();

/// A fresh scan of `root` and its record: the event id is taken before anything is read, so
/// that changes made while scanning are caught up later.
CatchUpResult scanWithRecord(DiskScanner& scanner, std::string_view root,
                             std::int64_t expectedCount = 0,
                             DiskScanner::ProgressCallback progress = {});

/// Brings `loaded` up to date without scanning afresh: the folders the change history names
/// and the folders that have become readable are read again. Nothing when the history is in
/// doubt. The new record's event id is taken before the history is asked. A cancel at any
/// point stops it (see `DiskScanner::isCancelled`).
std::optional<CatchUpResult> catchUpChanges(DiskScanner& scanner, Snapshot::Contents loaded,
                                            std::chrono::duration<double> timeout);

/// Brings the snapshot `loaded` of `root` up to date: the change history names the changed
/// folders, which are read again together with the folders that have become readable;
/// when the history is in doubt, or there is no snapshot, or it is of another root, `root`
/// is scanned afresh. A cancelled catch-up is not followed by a scan.
CatchUpResult catchUp(DiskScanner& scanner, std::optional<Snapshot::Contents> loaded,
                      std::string_view root, std::chrono::duration<double> timeout);

} // namespace brantle

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

    FileTree tree;
    SnapshotMeta meta;
    Mode mode = Mode::rescan;
    std::size_t reread = 0; ///< folders read again (every folder for a rescan)
};

/// Brings `loaded` up to date without scanning afresh: the folders the change history names
/// and the folders that have become readable are read again. Nothing when the history is in
/// doubt. The new record's event id is taken before the history is asked.
std::optional<CatchUpResult> catchUpChanges(DiskScanner& scanner, Snapshot::Contents loaded,
                                            std::chrono::duration<double> timeout);

/// Brings the snapshot `loaded` of `root` up to date: the change history names the changed
/// folders, which are read again together with the folders that have become readable;
/// when the history is in doubt, or there is no snapshot, or it is of another root, `root`
/// is scanned afresh. The new record's event id is taken before anything is read.
CatchUpResult catchUp(DiskScanner& scanner, std::optional<Snapshot::Contents> loaded,
                      std::string_view root, std::chrono::duration<double> timeout);

} // namespace brantle

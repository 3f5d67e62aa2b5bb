#pragma once

#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace ambrel {

/// A target's tree as stored between launches, in the file `snapshotPath(rootPath)`.
namespace StoredSnapshot {

/// A stored tree brought up to date.
struct CaughtUp {
    std::shared_ptr<brantle::FileTree> tree;
    /// The change-history id read before the history was asked; the tree holds every change
    /// made before it.
    brantle::ChangeHistory::EventID eventID = 0;
    /// Folders read again: the newly readable ones and the changed ones.
    std::size_t reread = 0;
};

/// The stored tree of `rootPath` and its event id; nothing when the file is missing or
/// undecodable or holds another root.
std::optional<brantle::Snapshot::Contents> load(const std::string& rootPath);

/// The loaded tree with the folders that became readable and the folders the change history
/// names read again by `scanner`; nothing when the history cannot answer within `timeout`.
std::optional<CaughtUp> catchUp(brantle::Snapshot::Contents loaded, brantle::DiskScanner& scanner,
                                std::chrono::duration<double> timeout);

/// Stores `tree` as the snapshot of its root, taken at `eventID`; a failure is ignored (the
/// next launch scans again).
void save(const brantle::FileTree& tree, brantle::ChangeHistory::EventID eventID);

} // namespace StoredSnapshot

} // namespace ambrel

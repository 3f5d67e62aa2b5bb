#pragma once

#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace ambrel {

/// A target's tree as stored between launches, in the file `snapshotPath(rootPath)`, and the
/// one stored before it (one generation), to show what changed since.
namespace StoredSnapshot {

/// The stored tree of `rootPath` and its event id; nothing when the file is missing or
/// undecodable or holds another root.
std::optional<brantle::Snapshot::Contents> load(const std::string& rootPath);

/// The snapshot stored before the current one of `rootPath`, by the same rules.
std::optional<brantle::Snapshot::Contents> loadPrevious(const std::string& rootPath);

/// Stores `tree` as the snapshot of its root, taken at `eventID`; the current one becomes the
/// previous one, replacing it. A failure is ignored (the next launch scans again).
void save(const brantle::FileTree& tree, brantle::ChangeHistory::EventID eventID);

/// Removes every file of the snapshot folder, previous snapshots included, and returns the bytes
/// those files held; a file that cannot be removed is left and not counted.
std::uint64_t clearAll();

} // namespace StoredSnapshot

} // namespace ambrel

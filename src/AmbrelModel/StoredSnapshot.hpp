#pragma once

#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace ambrel {

/// A target's tree as stored between launches, in the file `snapshotPath(rootPath)`.
namespace StoredSnapshot {

/// The stored tree of `rootPath` and its event id; nothing when the file is missing or
/// undecodable or holds another root.
std::optional<brantle::Snapshot::Contents> load(const std::string& rootPath);

/// Stores `tree` as the snapshot of its root, taken at `eventID`; a failure is ignored (the
/// next launch scans again).
void save(const brantle::FileTree& tree, brantle::ChangeHistory::EventID eventID);

/// Removes every file of the snapshot folder and returns the bytes those files held; a file
/// that cannot be removed is left and not counted.
std::uint64_t clearAll();

} // namespace StoredSnapshot

} // namespace ambrel

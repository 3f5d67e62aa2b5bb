#pragma once

#include "BrantleCore/Snapshot.hpp"

#include <QString>

#include <expected>
#include <string>

namespace ambrel {

/// A scan read from a file the user chose: a snapshot written by `brantle scan --save`, or an
/// ncdu JSON export. Shown read-only: its items need not be on this computer.
namespace OpenedScan {

/// The tree and record in the file at `path`, told apart by their first bytes, or one
/// sentence saying why the file cannot be shown.
std::expected<brantle::Snapshot::Contents, QString> read(const std::string& path);

/// The header of an opened scan: where and when it was taken ("/srv · scanned 3/4/26 10:15").
QString title(const brantle::SnapshotMeta& meta);

/// Why an opened scan's items cannot be put on the Cleanup List.
QString readOnlyReason();

} // namespace OpenedScan

} // namespace ambrel

#pragma once

#include "BrantleCore/Snapshot.hpp"

#include <expected>
#include <string>
#include <string_view>

namespace brantle {

/// Reads ncdu's JSON export (major format version 1, as `ncdu -o` writes it) into a tree.
/// Sizes are the allocated sizes (dsize), a folder's own blocks included, as a scan counts.
/// Hard links (hlnkc, or nlink above 1) count once per device and inode: later names get size
/// 0 and the hard-link duplicate flag. Entries on another or a kernel file system become mount
/// points; those left out by a pattern or a firmlink are left out, as a scan leaves out its
/// excluded paths. A read error makes the entry unreadable; an entry that is not a regular
/// file is a symbolic link unless its mode says otherwise. Names are kept byte for byte,
/// including the invalid UTF-8 that ncdu writes unescaped.
class NcduReader {
public:
    /// The tree and record (scan time from the export's timestamp) that `json` holds, or one
    /// English line saying why it is not an ncdu export. Nothing partial is kept.
    static std::expected<Snapshot::Contents, std::string> read(std::string_view json);

    /// The same for a file's contents; a file that cannot be read says so.
    static std::expected<Snapshot::Contents, std::string> load(const std::string& path);
};

} // namespace brantle

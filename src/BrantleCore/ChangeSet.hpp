#pragma once

#include <string>
#include <vector>

namespace brantle {

/// What changed under a scanned root since a snapshot: a list of folders to read again, or
/// the verdict that only a full rescan can be trusted.
struct ChangeSet {
    enum class Kind { directories, fullRescanNeeded };

    Kind kind = Kind::fullRescanNeeded;
    /// For `directories`: absolute folder paths, without a trailing "/", each once, sorted.
    std::vector<std::string> directories;

    static ChangeSet fullRescan() { return {}; }
    static ChangeSet of(std::vector<std::string> folders) {
        return {Kind::directories, std::move(folders)};
    }
    bool needsFullRescan() const { return kind == Kind::fullRescanNeeded; }

    friend bool operator==(const ChangeSet&, const ChangeSet&) = default;
};

} // namespace brantle

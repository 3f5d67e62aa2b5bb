#pragma once

#include <string>

namespace ambrel {

/// What is scanned: a chosen folder, the startup disk or the home folder.
struct ScanTarget {
    enum class Kind { folder, startupDisk, home };

    Kind kind = Kind::startupDisk;
    std::string path; ///< only for `folder`

    static ScanTarget folder(std::string path) { return {Kind::folder, std::move(path)}; }
    static ScanTarget startupDisk() { return {Kind::startupDisk, {}}; }
    static ScanTarget home() { return {Kind::home, {}}; }

    /// The folder the scan starts at: the path itself, "/" or the home folder.
    std::string rootPath() const;
    /// The name shown for the target: the folder's last component, the startup disk's label
    /// (else "Startup Disk"), or "Home".
    std::string title() const;

    friend bool operator==(const ScanTarget&, const ScanTarget&) = default;
};

/// The file-system label of the volume holding "/", or empty when none can be found.
std::string startupDiskLabel();

/// The snapshot file of a root path: "<data>/Snapshots/_root.brs" for "/", otherwise the
/// path with every "/" turned into "_", plus ".brs".
std::string snapshotPath(const std::string& rootPath);

} // namespace ambrel

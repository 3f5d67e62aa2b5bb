#pragma once

#include <QObject>

#include <string>

namespace ambrel {

/// The kinds of scan target, in a namespace of their own so that QML can name them.
namespace ScanTargetKinds {
Q_NAMESPACE
enum class Kind { Folder, StartupDisk, Home };
Q_ENUM_NS(Kind)
} // namespace ScanTargetKinds

/// What is scanned: a chosen folder, the startup disk or the home folder.
struct ScanTarget {
    using Kind = ScanTargetKinds::Kind;

    Kind kind = Kind::StartupDisk;
    std::string path; ///< only for `folder`

    static ScanTarget folder(std::string path) { return {Kind::Folder, std::move(path)}; }
    static ScanTarget startupDisk() { return {Kind::StartupDisk, {}}; }
    static ScanTarget home() { return {Kind::Home, {}}; }

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

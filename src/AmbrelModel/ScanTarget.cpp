#include "AmbrelModel/ScanTarget.hpp"

#include "BrantleServices/Locations.hpp"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace ambrel {

namespace {

// Labels under /dev/disk/by-label escape unusual bytes as "\xHH".
std::string unescapedLabel(const std::string& name) {
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] == '\\' && i + 3 < name.size() && name[i + 1] == 'x') {
            out += static_cast<char>(std::stoi(name.substr(i + 2, 2), nullptr, 16));
            i += 3;
        } else {
            out += name[i];
        }
    }
    return out;
}

} // namespace

std::string startupDiskLabel() {
    struct stat root {};
    if (stat("/", &root) != 0) return {};
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/disk/by-label", error)) {
        struct stat device {};
        if (stat(entry.path().c_str(), &device) == 0 && S_ISBLK(device.st_mode) &&
            device.st_rdev == root.st_dev)
            return unescapedLabel(entry.path().filename().string());
    }
    return {};
}

std::string ScanTarget::rootPath() const {
    switch (kind) {
    case Kind::Folder:
        return path;
    case Kind::StartupDisk:
        return "/";
    case Kind::Home:
        return brantle::Locations::homeDirectory();
    }
    return "/";
}

std::string ScanTarget::title() const {
    switch (kind) {
    case Kind::Folder: {
        const auto name = std::filesystem::path(path).filename().string();
        return name.empty() ? path : name;
    }
    case Kind::StartupDisk: {
        const auto label = startupDiskLabel();
        return label.empty() ? "Startup Disk" : label;
    }
    case Kind::Home:
        return "Home";
    }
    return {};
}

std::string snapshotPath(const std::string& rootPath) {
    std::string name = rootPath == "/" ? "_root" : rootPath;
    std::ranges::replace(name, '/', '_');
    return brantle::Locations::dataDirectory() + "/Snapshots/" + name + ".brs";
}

} // namespace ambrel

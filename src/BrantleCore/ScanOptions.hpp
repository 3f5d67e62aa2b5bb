#pragma once

#include "BrantleCore/DirEntry.hpp"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace brantle {

/// Which devices a scan may read and which paths it leaves out.
struct ScanOptions {
    /// No value: only the device of the scan's root folder, learnt from the first folder read.
    std::optional<std::set<DeviceNumber>> allowedDevices;
    /// Entries whose full path is in here are not added to the tree at all.
    std::set<std::string, std::less<>> excludedPaths;

    /// The options for scanning `containing`: for "/" the devices of "/" and
    /// "/System/Volumes/Data" (when they exist) with the latter's mount point left out, so the
    /// firmlinked data volume counts once; for any other path no devices and no exclusions.
    static ScanOptions forVolume(std::string_view containing);
};

} // namespace brantle

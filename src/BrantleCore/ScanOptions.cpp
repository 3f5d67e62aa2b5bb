#include "BrantleCore/ScanOptions.hpp"

#include <sys/stat.h>

namespace brantle {

namespace {

constexpr const char* dataVolume = "/System/Volumes/Data";

} // namespace

ScanOptions ScanOptions::forVolume(std::string_view containing) {
    ScanOptions options;
    if (containing != "/") return options;
    options.allowedDevices.emplace();
    for (const char* path : {"/", dataVolume}) {
        struct stat info;
        if (stat(path, &info) == 0) options.allowedDevices->insert(info.st_dev);
    }
    options.excludedPaths.insert(dataVolume);
    return options;
}

} // namespace brantle

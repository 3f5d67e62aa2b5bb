#include "BrantleServices/VolumeInfo.hpp"

#include <algorithm>
#include <cstdint>

#include <sys/statvfs.h>

namespace brantle {

namespace {

/// Absurd figures (a faulty driver, a crafted file system) saturate instead of stopping
/// the program.
std::int64_t bytesOf(std::uint64_t blocks, std::uint64_t blockSize) {
    std::int64_t bytes = 0;
    if (__builtin_mul_overflow(blocks, blockSize, &bytes)) return INT64_MAX;
    return bytes;
}

} // namespace

std::optional<VolumeInfo> VolumeInfo::fromCapacities(std::optional<std::int64_t> total,
                                                     std::optional<std::int64_t> available,
                                                     std::optional<std::int64_t> important) {
    if (!total || !available) return std::nullopt;
    const auto bytes = [](std::int64_t figure) {
        return static_cast<std::uint64_t>(std::max<std::int64_t>(figure, 0));
    };
    const std::uint64_t all = bytes(*total);
    // More available than the whole volume is read as a full volume's worth.
    const std::uint64_t free = std::min(bytes(*available), all);
    return VolumeInfo{all, free, std::min(bytes(important.value_or(*available)), all)};
}

std::optional<VolumeInfo> VolumeInfo::containing(const std::string& path) {
    struct statvfs figures {};
    if (::statvfs(path.c_str(), &figures) != 0) return std::nullopt;
    // Linux has no purgeable space, so important usage is simply what is available.
    return fromCapacities(bytesOf(figures.f_blocks, figures.f_frsize),
                          bytesOf(figures.f_bavail, figures.f_frsize), std::nullopt);
}

} // namespace brantle

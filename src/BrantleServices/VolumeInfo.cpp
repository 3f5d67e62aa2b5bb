#include "BrantleServices/VolumeInfo.hpp"

#include "BrantleCore/Fatal.hpp"

#include <sys/statvfs.h>

namespace brantle {

namespace {

std::int64_t bytesOf(std::uint64_t blocks, std::uint64_t blockSize) {
    std::int64_t bytes = 0;
    if (__builtin_mul_overflow(blocks, blockSize, &bytes)) fatal("volume capacity overflows");
    return bytes;
}

} // namespace

std::optional<VolumeInfo> VolumeInfo::fromCapacities(std::optional<std::int64_t> total,
                                                     std::optional<std::int64_t> available,
                                                     std::optional<std::int64_t> important) {
    if (!total || !available) return std::nullopt;
    if (*total < 0 || *available < 0) fatal("negative volume capacity");
    const std::int64_t forImportant = important.value_or(*available);
    return VolumeInfo{static_cast<std::uint64_t>(*total), static_cast<std::uint64_t>(*available),
                      static_cast<std::uint64_t>(std::max<std::int64_t>(forImportant, 0))};
}

std::optional<VolumeInfo> VolumeInfo::containing(const std::string& path) {
    struct statvfs figures {};
    if (::statvfs(path.c_str(), &figures) != 0) return std::nullopt;
    // Linux has no purgeable space, so important usage is simply what is available.
    return fromCapacities(bytesOf(figures.f_blocks, figures.f_frsize),
                          bytesOf(figures.f_bavail, figures.f_frsize), std::nullopt);
}

} // namespace brantle

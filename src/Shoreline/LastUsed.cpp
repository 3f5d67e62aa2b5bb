#include "Shoreline/LastUsed.hpp"

#ifdef __APPLE__
#include <CoreServices/CoreServices.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#endif

namespace shoreline {

#ifdef __APPLE__

std::optional<std::int64_t> LastUsed::spotlight(const std::string& path) {
    CFStringRef text =
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
                                static_cast<CFIndex>(path.size()), kCFStringEncodingUTF8, false);
    if (!text) return std::nullopt;
    MDItemRef item = MDItemCreate(kCFAllocatorDefault, text);
    CFRelease(text);
    if (!item) return std::nullopt;
    std::optional<std::int64_t> seconds;
    const auto date = static_cast<CFDateRef>(MDItemCopyAttribute(item, kMDItemLastUsedDate));
    if (date) {
        seconds = static_cast<std::int64_t>(CFDateGetAbsoluteTime(date) +
                                            kCFAbsoluteTimeIntervalSince1970);
        CFRelease(date);
    }
    CFRelease(item);
    return seconds;
}

#else

std::optional<std::int64_t> LastUsed::spotlight(const std::string& path) {
    struct statx info {};
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
              STATX_ATIME | STATX_MTIME, &info) != 0)
        return std::nullopt;
    if ((info.stx_mask & (STATX_ATIME | STATX_MTIME)) != (STATX_ATIME | STATX_MTIME))
        return std::nullopt;
    if (info.stx_atime.tv_sec <= info.stx_mtime.tv_sec) return std::nullopt;
    return info.stx_atime.tv_sec;
}

#endif

} // namespace shoreline

#include "BrantleServices/ItemSize.hpp"

#include "BrantleServices/AnchoredItem.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>

namespace brantle::ItemSize {

namespace {

constexpr int maxDepth = 256;

std::uint64_t measured(int folder, const char* name, dev_t device, int depth) {
    struct stat status {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return 0;
    std::uint64_t bytes = static_cast<std::uint64_t>(status.st_blocks) * 512;
    if (!S_ISDIR(status.st_mode) || status.st_dev != device || depth >= maxDepth ||
        isMountRoot(folder, name))
        return bytes;
    const int fd = ::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    DIR* stream = fd < 0 ? nullptr : ::fdopendir(fd);
    if (!stream) {
        if (fd >= 0) ::close(fd);
        return bytes;
    }
    while (const dirent* entry = ::readdir(stream)) {
        const std::string_view child = entry->d_name;
        if (child != "." && child != "..")
            bytes += measured(::dirfd(stream), entry->d_name, device, depth + 1);
    }
    ::closedir(stream);
    return bytes;
}

} // namespace

std::uint64_t allocated(int folder, const std::string& name) {
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return 0;
    return measured(folder, name.c_str(), status.st_dev, 0);
}

} // namespace brantle::ItemSize

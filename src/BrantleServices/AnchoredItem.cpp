#include "BrantleServices/AnchoredItem.hpp"

#include "BrantleCore/PathText.hpp"

#include <cerrno>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>

namespace brantle {

namespace {

constexpr int folderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

FileError refused(std::string_view path, int code, std::string_view reason) {
    return FileError{code, std::string(path), std::string(reason)};
}

bool isLink(int folder, const std::string& name) {
    struct stat status {};
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISLNK(status.st_mode);
}

// One component at a time with O_NOFOLLOW, for kernels without openat2.
std::expected<Descriptor, FileError> openStepwise(std::string_view path) {
    Descriptor folder(::open("/", folderFlags));
    if (!folder) return std::unexpected(FileError{errno, std::string(path)});
    for (const auto piece : PathText::components(path)) {
        const std::string name(piece);
        Descriptor next(::openat(folder.get(), name.c_str(), folderFlags | O_NOFOLLOW));
        if (!next) {
            const int code = errno;
            if (isLink(folder.get(), name))
                return std::unexpected(refused(path, ELOOP, AnchorReason::throughLink));
            return std::unexpected(FileError{code, std::string(path)});
        }
        folder = std::move(next);
    }
    return folder;
}

bool isStandardAbsolute(std::string_view path) {
    if (!path.starts_with('/')) return false;
    for (const auto piece : PathText::components(path)) {
        if (piece == "." || piece == "..") return false;
    }
    return true;
}

} // namespace

std::expected<Descriptor, FileError> AnchoredItem::openFolder(std::string_view path) {
    if (path.find('\0') != std::string_view::npos)
        return std::unexpected(refused(path, EINVAL, AnchorReason::nulByte));
    if (!isStandardAbsolute(path)) return std::unexpected(FileError{EINVAL, std::string(path)});
    open_how how{};
    how.flags = folderFlags;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    const std::string text(path);
    const long fd = ::syscall(SYS_openat2, AT_FDCWD, text.c_str(), &how, sizeof how);
    if (fd >= 0) return Descriptor(static_cast<int>(fd));
    if (errno == ELOOP) return std::unexpected(refused(path, ELOOP, AnchorReason::throughLink));
    if (errno == ENOSYS || errno == EPERM || errno == EINVAL || errno == E2BIG || errno == EAGAIN)
        return openStepwise(path);
    return std::unexpected(FileError{errno, text});
}

std::expected<Descriptor, FileError> AnchoredItem::openFolderStepwise(std::string_view path) {
    if (path.find('\0') != std::string_view::npos)
        return std::unexpected(refused(path, EINVAL, AnchorReason::nulByte));
    if (!isStandardAbsolute(path)) return std::unexpected(FileError{EINVAL, std::string(path)});
    return openStepwise(path);
}

std::expected<AnchoredItem, FileError> AnchoredItem::open(std::string_view path,
                                                          FolderOpener opener) {
    if (path.find('\0') != std::string_view::npos)
        return std::unexpected(refused(path, EINVAL, AnchorReason::nulByte));
    if (path == "/") return std::unexpected(refused(path, EBUSY, AnchorReason::mountPoint));
    auto folder = opener(PathText::parent(path));
    if (!folder)
        return std::unexpected(
            FileError{folder.error().code, std::string(path), folder.error().reason});
    AnchoredItem item{std::make_shared<const Descriptor>(std::move(*folder)),
                      std::string(PathText::lastComponent(path)),
                      {}};
    const int fd = item.folder->get();
    if (::fstatat(fd, item.name.c_str(), &item.status, AT_SYMLINK_NOFOLLOW) != 0)
        return std::unexpected(FileError{errno, std::string(path)});
    if (isMountRoot(fd, item.name.c_str()))
        return std::unexpected(refused(path, EBUSY, AnchorReason::mountPoint));
    return item;
}

bool isMountRoot(int folder, const char* name) {
    struct statx status {};
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | (*name ? 0 : AT_EMPTY_PATH);
    if (::statx(folder, name, flags, STATX_TYPE | STATX_MNT_ID, &status) != 0) return false;
    if (status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT)
        return (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    // Older kernels: a mount of another file system at least shows as another device.
    struct stat outer {};
    struct stat inner {};
    return *name && ::fstat(folder, &outer) == 0 &&
           ::fstatat(folder, name, &inner, AT_SYMLINK_NOFOLLOW) == 0 &&
           inner.st_dev != outer.st_dev;
}

std::uint64_t mountIdOf(int folder, const char* name) {
    struct statx status {};
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | (*name ? 0 : AT_EMPTY_PATH);
    if (::statx(folder, name, flags, STATX_MNT_ID, &status) != 0) return 0;
    return (status.stx_mask & STATX_MNT_ID) ? status.stx_mnt_id : 0;
}

} // namespace brantle

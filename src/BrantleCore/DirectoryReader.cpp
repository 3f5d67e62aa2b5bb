#include "BrantleCore/DirectoryReader.hpp"

#include "BrantleCore/BulkAttributes.hpp"

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#ifdef __APPLE__
#include <sys/attr.h>
#else
#include <dirent.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#endif

namespace brantle {

DirectoryReader::DirectoryReader() : buffer_(new std::byte[bufferSize]) {}

#ifdef __APPLE__

std::expected<std::span<const DirEntry>, DirectoryReader::ReadError> DirectoryReader::read(int fd) {
    entries_.clear();
    attrlist request{};
    request.bitmapcount = ATTR_BIT_MAP_COUNT;
    request.commonattr = BulkAttributes::commonRequest;
    request.fileattr = BulkAttributes::fileRequest;
    for (;;) {
        const int count = getattrlistbulk(fd, &request, buffer_.get(), bufferSize, 0);
        if (count < 0) return std::unexpected(ReadError{errno});
        if (count == 0) return entries_.entries();
        const std::span<const std::byte> packed(buffer_.get(), bufferSize);
        if (!BulkAttributes::appendEntries(packed, static_cast<std::uint32_t>(count), entries_))
            return std::unexpected(ReadError{EIO});
    }
}

#else

namespace {

struct LinuxDirent64 {
    std::uint64_t d_ino;
    std::int64_t d_off;
    unsigned short d_reclen;
    unsigned char d_type;
    char d_name[1];
};

constexpr int statFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
constexpr unsigned statMask =
    STATX_TYPE | STATX_MODE | STATX_INO | STATX_NLINK | STATX_MTIME | STATX_BLOCKS;

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

/// The entry, or no value when it has gone since the listing was read.
std::optional<DirEntry> entryFor(int fd, const char* name, const LinuxDirent64& dirent) {
    DirEntry entry;
    struct statx sx;
    if (statx(fd, name, statFlags, statMask, &sx) != 0) {
        if (errno == ENOENT) return std::nullopt;
        // The listing still knows the kind and the inode; the entry becomes unreadable.
        entry.error = errno;
        entry.isDir = dirent.d_type == DT_DIR;
        entry.isSymlink = dirent.d_type == DT_LNK;
        entry.inode = dirent.d_ino;
        return entry;
    }
    entry.isDir = S_ISDIR(sx.stx_mode);
    entry.isSymlink = S_ISLNK(sx.stx_mode);
    entry.allocSize = sx.stx_blocks * 512;
    entry.mtime = sx.stx_mtime.tv_sec;
    entry.inode = sx.stx_ino;
    entry.linkCount = sx.stx_nlink;
    entry.device = makedev(sx.stx_dev_major, sx.stx_dev_minor);
    return entry;
}

} // namespace

std::expected<std::span<const DirEntry>, DirectoryReader::ReadError> DirectoryReader::read(int fd) {
    entries_.clear();
    char* const base = reinterpret_cast<char*>(buffer_.get());
    for (;;) {
        const long filled = syscall(SYS_getdents64, fd, base, bufferSize);
        if (filled < 0) return std::unexpected(ReadError{errno});
        if (filled == 0) return entries_.entries();
        for (long offset = 0; offset < filled;) {
            LinuxDirent64 dirent;
            std::memcpy(&dirent, base + offset, offsetof(LinuxDirent64, d_name));
            const char* name = base + offset + offsetof(LinuxDirent64, d_name);
            offset += dirent.d_reclen;
            if (isDotOrDotDot(name)) continue;
            if (const auto entry = entryFor(fd, name, dirent))
                entries_.add(*entry, std::string_view(name));
        }
    }
}

#endif

namespace {

/// Opens `path` one chunk at a time when it is too long for one open: each chunk is a run of
/// whole components shorter than PATH_MAX, opened relative to the previous chunk's folder.
int openInSteps(std::string_view path) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    int fd = AT_FDCWD;
    std::size_t start = 0;
    while (start < path.size()) {
        if (fd != AT_FDCWD && path[start] == '/') {
            ++start; // a doubled separator would make the next chunk absolute
            continue;
        }
        std::size_t end = start;
        while (end < path.size()) {
            std::size_t next = path.find('/', end + 1);
            if (next == std::string_view::npos) next = path.size();
            if (next - start >= PATH_MAX && end > start) break;
            end = next;
        }
        const std::string chunk(path.substr(start, end - start));
        const int opened = openat(fd, chunk.c_str(), flags);
        const int saved = errno;
        if (fd != AT_FDCWD) close(fd);
        if (opened < 0) {
            errno = saved;
            return -1;
        }
        fd = opened;
        start = end + 1;
    }
    return fd == AT_FDCWD ? -1 : fd;
}

} // namespace

int openDirectory(std::string_view path) {
    if (path.size() < PATH_MAX)
        return open(std::string(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return openInSteps(path);
}

bool statAt(std::string_view path, struct stat& info) {
    if (path.size() < PATH_MAX) return lstat(std::string(path).c_str(), &info) == 0;
    const std::size_t slash = path.rfind('/');
    const int folder = openDirectory(path.substr(0, slash));
    if (folder < 0) return false;
    const std::string name(path.substr(slash + 1));
    const bool ok = fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
    close(folder);
    return ok;
}

std::optional<std::uint64_t> allocatedSize(std::string_view path) {
    struct stat info;
    if (!statAt(path, info)) return std::nullopt;
    return static_cast<std::uint64_t>(info.st_blocks) * 512;
}

} // namespace brantle

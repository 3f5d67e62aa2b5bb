#include "BrantleServices/RecursiveRemoval.hpp"

#include "BrantleServices/AnchoredItem.hpp"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <unordered_set>
#include <utility>
#include <vector>

namespace brantle::RecursiveRemoval {

namespace {

// Open folder streams kept per removal; deeper levels close the oldest and come back to it
// through "..", so any depth needs only this many descriptors.
constexpr std::size_t maxOpenLevels = 32;

struct Level {
    std::string name;                       // the folder's name in its parent
    DIR* stream;                            // null while closed to save descriptors
    std::unordered_set<std::string> failed; // entries that stay; skipped when listed again
    dev_t device;                           // who the folder is, checked when it is reopened
    ino_t inode;
};

// The mount the removed item lives on; nothing on another mount is entered, not even a bind
// mount of the same file system (same device number, another mount id).
struct Mount {
    dev_t device;
    std::uint64_t id; // 0 when the kernel cannot tell
};

bool isDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

bool isFolder(int folder, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat status {};
    return ::fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

int openChild(int parent, const char* name) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    open_how how{};
    how.flags = flags;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_XDEV;
    const long fd = ::syscall(SYS_openat2, parent, name, &how, sizeof how);
    if (fd >= 0 || (errno != ENOSYS && errno != EPERM && errno != E2BIG && errno != EINVAL))
        return static_cast<int>(fd);
    return ::openat(parent, name, flags);
}

// Opens a child folder on the item's mount without following a link; null otherwise.
DIR* openFolder(int parent, const char* name, const Mount& mount, struct stat& status) {
    const int fd = openChild(parent, name);
    if (fd < 0) return nullptr;
    const bool sameMount = ::fstat(fd, &status) == 0 && status.st_dev == mount.device &&
                           (mount.id == 0 || mountIdOf(fd, "") == mount.id) && !isMountRoot(fd, "");
    DIR* stream = sameMount ? ::fdopendir(fd) : nullptr;
    if (!stream) ::close(fd);
    return stream;
}

// The parent folder opened again through "..", only when it is still the folder left there:
// a folder moved away meanwhile has another parent, which must not be emptied.
DIR* reopenedParent(DIR* child, const Level& parent) {
    const int fd = ::openat(::dirfd(child), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    struct stat status {};
    const bool same = ::fstat(fd, &status) == 0 && status.st_dev == parent.device &&
                      status.st_ino == parent.inode;
    DIR* stream = same ? ::fdopendir(fd) : nullptr;
    if (!stream) ::close(fd);
    return stream;
}

void closeAll(std::vector<Level>& levels) {
    for (auto& level : levels) {
        if (level.stream) ::closedir(level.stream);
    }
}

// Removes a plain entry, or descends into a folder; false when the entry stays.
bool removeOrDescend(std::vector<Level>& levels, const dirent& entry, const Mount& mount) {
    const int fd = ::dirfd(levels.back().stream);
    if (!isFolder(fd, entry)) return ::unlinkat(fd, entry.d_name, 0) == 0;
    struct stat status {};
    DIR* child = openFolder(fd, entry.d_name, mount, status);
    if (!child) return ::unlinkat(fd, entry.d_name, AT_REMOVEDIR) == 0;
    if (levels.size() >= maxOpenLevels) {
        auto& oldest = levels[levels.size() - maxOpenLevels];
        if (oldest.stream) ::closedir(std::exchange(oldest.stream, nullptr));
    }
    levels.push_back({entry.d_name, child, {}, status.st_dev, status.st_ino});
    return true;
}

// Leaves the finished top level for its parent and removes it there; false when the parent
// cannot be reached again.
bool ascend(std::vector<Level>& levels) {
    Level finished = std::move(levels.back());
    levels.pop_back();
    Level& parent = levels.back();
    if (!parent.stream) parent.stream = reopenedParent(finished.stream, parent);
    ::closedir(finished.stream);
    if (!parent.stream) return false;
    if (::unlinkat(::dirfd(parent.stream), finished.name.c_str(), AT_REMOVEDIR) != 0)
        parent.failed.insert(finished.name);
    return true;
}

} // namespace

void removeEntry(int folder, const std::string& name) {
    if (::unlinkat(folder, name.c_str(), 0) == 0 || (errno != EISDIR && errno != EPERM)) return;
    if (isMountRoot(folder, name.c_str())) return;
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;
    const Mount mount{status.st_dev, mountIdOf(folder, name.c_str())};
    DIR* top = openFolder(folder, name.c_str(), mount, status);
    if (!top) return;
    std::vector<Level> levels;
    levels.push_back({name, top, {}, status.st_dev, status.st_ino});
    while (true) {
        errno = 0;
        if (const dirent* entry = ::readdir(levels.back().stream)) {
            auto& level = levels.back();
            if (isDot(entry->d_name) || level.failed.contains(entry->d_name)) continue;
            const std::string entryName = entry->d_name;
            if (!removeOrDescend(levels, *entry, mount)) levels.back().failed.insert(entryName);
            continue;
        }
        if (levels.size() == 1) break;
        if (!ascend(levels)) {
            closeAll(levels);
            return;
        }
    }
    ::closedir(levels.front().stream);
    ::unlinkat(folder, name.c_str(), AT_REMOVEDIR);
}

} // namespace brantle::RecursiveRemoval

#include "BrantleServices/RecursiveRemoval.hpp"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
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

dev_t deviceOf(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 ? status.st_dev : dev_t(-1);
}

// Opens a child folder on the given device without following a link; null otherwise.
DIR* openFolder(int parent, const char* name, dev_t device) {
    const int fd = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return nullptr;
    DIR* stream = deviceOf(fd) == device ? ::fdopendir(fd) : nullptr;
    if (!stream) ::close(fd);
    return stream;
}

DIR* reopenedParent(DIR* child) {
    const int fd = ::openat(::dirfd(child), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    DIR* stream = ::fdopendir(fd);
    if (!stream) ::close(fd);
    return stream;
}

void closeAll(std::vector<Level>& levels) {
    for (auto& level : levels) {
        if (level.stream) ::closedir(level.stream);
    }
}

// Removes a plain entry, or descends into a folder; false when the entry stays.
bool removeOrDescend(std::vector<Level>& levels, const dirent& entry, dev_t device) {
    const int fd = ::dirfd(levels.back().stream);
    if (!isFolder(fd, entry)) return ::unlinkat(fd, entry.d_name, 0) == 0;
    DIR* child = openFolder(fd, entry.d_name, device);
    if (!child) return ::unlinkat(fd, entry.d_name, AT_REMOVEDIR) == 0;
    if (levels.size() >= maxOpenLevels) {
        auto& oldest = levels[levels.size() - maxOpenLevels];
        if (oldest.stream) ::closedir(std::exchange(oldest.stream, nullptr));
    }
    levels.push_back({entry.d_name, child, {}});
    return true;
}

// Leaves the finished top level for its parent and removes it there; false when the parent
// cannot be reached again.
bool ascend(std::vector<Level>& levels) {
    Level finished = std::move(levels.back());
    levels.pop_back();
    Level& parent = levels.back();
    if (!parent.stream) parent.stream = reopenedParent(finished.stream);
    ::closedir(finished.stream);
    if (!parent.stream) return false;
    if (::unlinkat(::dirfd(parent.stream), finished.name.c_str(), AT_REMOVEDIR) != 0)
        parent.failed.insert(finished.name);
    return true;
}

} // namespace

void removeEntry(int folder, const std::string& name) {
    if (::unlinkat(folder, name.c_str(), 0) == 0 || (errno != EISDIR && errno != EPERM)) return;
    const dev_t device = deviceOf(folder);
    DIR* top = openFolder(folder, name.c_str(), device);
    if (!top) return;
    std::vector<Level> levels;
    levels.push_back({name, top, {}});
    while (true) {
        errno = 0;
        if (const dirent* entry = ::readdir(levels.back().stream)) {
            auto& level = levels.back();
            if (isDot(entry->d_name) || level.failed.contains(entry->d_name)) continue;
            const std::string entryName = entry->d_name;
            if (!removeOrDescend(levels, *entry, device)) levels.back().failed.insert(entryName);
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

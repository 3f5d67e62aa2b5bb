// Eraser::remove: a folder's entries are removed in parallel, then the folder itself.
#include "BrantleServices/Eraser.hpp"

#include "BrantleServices/AnchoredItem.hpp"
#include "BrantleServices/RecursiveRemoval.hpp"

#include <algorithm>
#include <atomic>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace brantle {

namespace {

std::vector<std::string> entryNames(int folder) {
    std::vector<std::string> names;
    const int fd = ::dup(folder);
    DIR* stream = fd < 0 ? nullptr : ::fdopendir(fd);
    if (!stream) {
        if (fd >= 0) ::close(fd);
        return names;
    }
    while (const dirent* entry = ::readdir(stream)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    ::closedir(stream);
    return names;
}

void removeInParallel(int folder, const std::vector<std::string>& names) {
    std::atomic<std::size_t> next{0};
    const auto worker = [&] {
        for (std::size_t i = next++; i < names.size(); i = next++)
            RecursiveRemoval::removeEntry(folder, names[i]);
    };
    const std::size_t threads =
        std::min<std::size_t>(names.size(), std::max(1u, std::thread::hardware_concurrency()));
    std::vector<std::jthread> helpers;
    for (std::size_t i = 1; i < threads; ++i)
        helpers.emplace_back(worker);
    worker();
}

} // namespace

void Eraser::remove(const std::string& path) {
    if (auto item = AnchoredItem::open(path)) remove(Pending{item->folder, item->name});
}

void Eraser::remove(const Pending& entry) {
    const int parent = entry.folder->get();
    const char* name = entry.name.c_str();
    struct stat status {};
    if (parent < 0 || ::fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return;
    if (isMountRoot(parent, name)) return;
    if (S_ISDIR(status.st_mode)) {
        // Each entry is removed on its own and refuses to leave its mount, so a bind mount
        // right inside the folder is skipped like any deeper one.
        const Descriptor folder(
            ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        const auto names = folder ? entryNames(folder.get()) : std::vector<std::string>();
        if (names.size() >= 2 && !isMountRoot(folder.get(), ""))
            removeInParallel(folder.get(), names);
    }
    RecursiveRemoval::removeEntry(parent, entry.name);
}

} // namespace brantle

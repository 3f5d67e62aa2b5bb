// Eraser::remove: a folder's entries are removed in parallel, then the folder itself.
#include "BrantleServices/Eraser.hpp"

#include "BrantleCore/PathText.hpp"
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

class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

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
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) return;
    const std::string name(PathText::lastComponent(path));
    const Descriptor parent(
        ::open(std::string(PathText::parent(path)).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (parent.get() < 0) return;
    if (S_ISDIR(status.st_mode)) {
        const Descriptor folder(
            ::openat(parent.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        const auto names = folder.get() < 0 ? std::vector<std::string>() : entryNames(folder.get());
        if (names.size() >= 2) removeInParallel(folder.get(), names);
    }
    RecursiveRemoval::removeEntry(parent.get(), name);
}

} // namespace brantle

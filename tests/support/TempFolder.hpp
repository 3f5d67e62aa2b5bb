#pragma once
// A real folder under the system's temporary directory for tests, removed with everything in
// it (even trees deeper than PATH_MAX, and folders without permissions) when it goes away.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace testing_support {

inline void removeInside(int fd) {
    DIR* dir = fdopendir(fd);
    if (!dir) {
        close(fd);
        return;
    }
    while (dirent* entry = readdir(dir)) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        if (unlinkat(dirfd(dir), entry->d_name, 0) == 0) continue;
        fchmodat(dirfd(dir), entry->d_name, 0700, 0);
        const int child = openat(dirfd(dir), entry->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
        if (child >= 0) removeInside(child);
        unlinkat(dirfd(dir), entry->d_name, AT_REMOVEDIR);
    }
    closedir(dir);
}

/// Allocated bytes of the object at `path` itself (symbolic links not followed).
inline std::uint64_t allocatedBytes(const std::string& path) {
    struct stat info {};
    lstat(path.c_str(), &info);
    return static_cast<std::uint64_t>(info.st_blocks) * 512;
}

} // namespace testing_support

class TempFolder {
public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "ambrel-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        path_ = pattern;
        chmod(path_.c_str(), 0755); // reachable by a test child that drops privileges
    }
    ~TempFolder() {
        chmod(path_.c_str(), 0700);
        const int fd = open(path_.c_str(), O_RDONLY | O_DIRECTORY);
        if (fd >= 0) testing_support::removeInside(fd);
        rmdir(path_.c_str());
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(std::string_view relative) const {
        return path_ + "/" + std::string(relative);
    }

    /// Writes `bytes` bytes of data into a new file at `relative`.
    void file(std::string_view relative, std::size_t bytes = 100) const {
        const std::string full = *this / relative;
        const int fd = open(full.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ASSERT_GE(fd, 0) << full;
        const std::string data(bytes, 'x');
        ASSERT_EQ(write(fd, data.data(), data.size()), static_cast<ssize_t>(data.size()));
        close(fd);
    }
    void folder(std::string_view relative) const {
        ASSERT_EQ(mkdir((*this / relative).c_str(), 0755), 0) << relative;
    }

private:
    std::string path_;
};

// Writes a small file, creating its folders.
inline void writeFile(const std::string& path, const std::string& text = "x") {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << text;
}

// The names in a folder (none when it cannot be listed).
inline std::set<std::string> namesIn(const std::string& folder) {
    std::set<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        names.insert(entry.path().filename().string());
    return names;
}

// Sets an environment variable for the scope, restoring the old value afterwards.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const std::string& value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        ::setenv(name, value.c_str(), 1);
    }
    ~ScopedEnv() {
        if (old_) {
            ::setenv(name_, old_->c_str(), 1);
        } else {
            ::unsetenv(name_);
        }
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    const char* name_;
    std::optional<std::string> old_;
};

// The whole content of a file, or empty when it cannot be read.
inline std::string fileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// A temporary home whose data folder does not exist yet, and the working folder inside the
// temporary folder, so that a stray folder made relative to it would show.
struct TempHome {
    TempFolder root;
    ScopedEnv home{"HOME", root / "home"};
    ScopedEnv data{"XDG_DATA_HOME", root / "home/.local/share"};
    ScopedEnv cache{"XDG_CACHE_HOME", root / "home/.cache"};
    std::filesystem::path previousWorkingFolder = std::filesystem::current_path();
    std::string trash = root / "home/.local/share/Trash";

    TempHome() {
        std::filesystem::create_directories(root / "home");
        std::filesystem::current_path(root.path());
    }
    ~TempHome() { std::filesystem::current_path(previousWorkingFolder); }
    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;
};

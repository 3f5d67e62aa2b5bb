#pragma once
// A real home folder in a temporary directory: files of real allocated sizes, dated with
// utimensat, scanned with the disk scanner and analysed under either platform profile.

#include "BrantleCore/DiskScanner.hpp"
#include "Shoreline/Shoreline.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

inline constexpr std::uint64_t MiB = 1'048'576;
inline constexpr std::int64_t day = 86'400;

inline std::int64_t secondsNow() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

enum class System { linux, macOS };

inline std::shared_ptr<const brantle::PlatformProfile> profileOf(System system) {
    auto profile = system == System::macOS ? brantle::PlatformProfile::macOS()
                                           : brantle::PlatformProfile::linux();
    profile.isMountPoint = nullptr;
    return std::make_shared<const brantle::PlatformProfile>(std::move(profile));
}

class TestHome {
public:
    explicit TestHome(System system = System::linux)
        : profile_(profileOf(system)),
          folders_(system == System::macOS ? shoreline::SuggestionFolders::macOS()
                                           : shoreline::SuggestionFolders::linux()) {
        tmp_.folder("home");
        home_ = tmp_ / "home";
    }

    const std::string& home() const { return home_; }
    std::string operator/(std::string_view relative) const {
        return home_ + "/" + std::string(relative);
    }

    /// The blocks that the folder at `relative` and the folders inside it own themselves,
    /// which count in its size beside the files.
    std::uint64_t folderBlocks(std::string_view relative) const {
        const std::string top = *this / relative;
        std::uint64_t bytes = testing_support::allocatedBytes(top);
        for (const auto& entry : std::filesystem::recursive_directory_iterator(top))
            if (entry.is_directory() && !entry.is_symlink())
                bytes += testing_support::allocatedBytes(entry.path());
        return bytes;
    }
    /// A folder and its parents.
    void folder(std::string_view relative) const {
        std::filesystem::create_directories(*this / relative);
    }
    /// A file of exactly `bytes` allocated bytes (a multiple of 4096), its folders made too.
    void file(std::string_view relative, std::uint64_t bytes = 4096) const {
        const int fd = create(relative);
        if (bytes > 0) {
            EXPECT_EQ(::posix_fallocate(fd, 0, static_cast<off_t>(bytes)), 0) << relative;
        }
        ::close(fd);
    }
    /// Such a file, last modified and opened `days` days ago.
    void file(std::string_view relative, std::uint64_t bytes, std::int64_t days) const {
        file(relative, bytes);
        age(relative, days);
    }
    /// A file holding `contents`, its folders made too.
    void file(std::string_view relative, const std::string& contents) const {
        const int fd = create(relative);
        EXPECT_EQ(::write(fd, contents.data(), contents.size()),
                  static_cast<ssize_t>(contents.size()));
        ::close(fd);
    }
    /// Sets modification and access time to `days` whole days before now (plus a minute).
    void age(std::string_view relative, std::int64_t days) const {
        const std::int64_t when = secondsNow() - days * day - 60;
        const timespec times[2] = {{when, 0}, {when, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, (*this / relative).c_str(), times, AT_SYMLINK_NOFOLLOW), 0)
            << relative;
    }
    /// Ages a folder and everything inside it, contents first.
    void ageAll(std::string_view relative, std::int64_t days) const {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(*this / relative))
            age(this->relative(entry.path().string()), days);
        age(relative, days);
    }
    /// A fresh context over the home folder, scanned the first time, with the guard of this
    /// profile and no last-used dates.
    shoreline::ShorelineContext context() {
        if (!tree_) tree_.emplace(brantle::DiskScanner(brantle::ScanOptions{}, 1).scan(home_));
        shoreline::ShorelineContext context(
            *tree_, home_, brantle::DeletionGuard(home_, "/nonexistent/app", nullptr, profile_),
            profile_);
        context.lastUsed = [](const std::string&) { return std::nullopt; };
        context.suggestionFolders = folders_;
        return context;
    }

    /// The home-relative paths a rule proposes, with safety and reason, in its order.
    struct Proposal {
        std::string path;
        shoreline::Safety safety;
        std::string reason;
        bool operator==(const Proposal&) const = default;
    };
    std::vector<Proposal> proposals(const shoreline::Rule& rule,
                                    const shoreline::ShorelineContext& context) const {
        std::vector<Proposal> out;
        for (const auto& candidate : rule.candidates(context))
            out.push_back(
                {relative(context.tree.path(candidate.node)), candidate.safety, candidate.reason});
        return out;
    }
    std::string relative(const std::string& path) const {
        return path.starts_with(home_ + "/") ? path.substr(home_.size() + 1) : path;
    }

private:
    int create(std::string_view relative) const {
        const std::string path = *this / relative;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0) ADD_FAILURE() << "cannot create " << path;
        return fd;
    }

    TempFolder tmp_;
    std::string home_;
    std::shared_ptr<const brantle::PlatformProfile> profile_;
    shoreline::SuggestionFolders folders_;
    std::optional<brantle::FileTree> tree_;
};

inline std::ostream& operator<<(std::ostream& out, const TestHome::Proposal& proposal) {
    return out << "{" << proposal.path << ", " << shoreline::safetyName(proposal.safety) << ", "
               << proposal.reason << "}";
}

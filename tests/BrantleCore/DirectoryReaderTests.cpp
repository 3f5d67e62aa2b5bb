#include "BrantleCore/DirectoryReader.hpp"

#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <map>

using brantle::DirectoryReader;
using brantle::DirEntry;
using brantle::openDirectory;
using testing_support::allocatedBytes;

namespace {

std::map<std::string, DirEntry> readAll(DirectoryReader& reader, const std::string& path) {
    std::map<std::string, DirEntry> out;
    const int fd = openDirectory(path);
    EXPECT_GE(fd, 0) << path;
    const auto entries = reader.read(fd);
    close(fd);
    EXPECT_TRUE(entries.has_value());
    if (entries)
        for (const DirEntry& entry : *entries)
            out[std::string(entry.name)] = entry;
    return out;
}

} // namespace

TEST(DirectoryReader, ReportsAllocatedSizeKindTimeAndLinks) {
    TempFolder root;
    root.file("data", 10000);
    root.folder("folder");
    ASSERT_EQ(symlink("data", (root / "link").c_str()), 0);
    ASSERT_EQ(link((root / "data").c_str(), (root / "folder/again").c_str()), 0);
    // A sparse file: large logical size, almost nothing allocated.
    const int sparse = open((root / "sparse").c_str(), O_WRONLY | O_CREAT, 0644);
    ASSERT_EQ(ftruncate(sparse, 50'000'000), 0);
    close(sparse);
    const timespec times[2] = {{0, UTIME_OMIT}, {1'600'000'123, 999'999'999}};
    ASSERT_EQ(utimensat(AT_FDCWD, (root / "data").c_str(), times, 0), 0);

    DirectoryReader reader;
    const auto entries = readAll(reader, root.path());
    ASSERT_EQ(entries.size(), 4u) << "no \".\" and \"..\"";
    const DirEntry& data = entries.at("data");
    struct stat info {};
    stat((root / "data").c_str(), &info);
    EXPECT_FALSE(data.isDir || data.isSymlink || data.dataless);
    EXPECT_EQ(data.allocSize, allocatedBytes(root / "data"));
    EXPECT_EQ(data.mtime, 1'600'000'123);
    EXPECT_EQ(data.inode, info.st_ino);
    EXPECT_EQ(data.device, info.st_dev);
    EXPECT_EQ(data.linkCount, 2u);
    EXPECT_TRUE(entries.at("folder").isDir);
    EXPECT_EQ(entries.at("folder").allocSize, allocatedBytes(root / "folder"));
    EXPECT_TRUE(entries.at("link").isSymlink);
    EXPECT_FALSE(entries.at("link").isDir);
    EXPECT_EQ(entries.at("sparse").allocSize, allocatedBytes(root / "sparse"));
    EXPECT_LT(entries.at("sparse").allocSize, 50'000'000u);
}

TEST(DirectoryReader, FolderLargerThanOneBufferAndReuse) {
    TempFolder root;
    constexpr int count = 3000; // about 500 KB of directory records: several bulk reads
    for (int i = 0; i < count; ++i)
        root.file(std::to_string(i) + std::string(150, 'z'), 0);
    root.folder("small");
    root.file("small/one", 0);

    DirectoryReader reader;
    auto entries = readAll(reader, root.path());
    ASSERT_EQ(entries.size(), static_cast<std::size_t>(count) + 1);
    for (int i = 0; i < count; ++i)
        EXPECT_TRUE(entries.contains(std::to_string(i) + std::string(150, 'z'))) << i;
    entries = readAll(reader, root / "small");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_TRUE(entries.contains("one"));

    const int file = open((root / "small/one").c_str(), O_RDONLY);
    const auto failed = reader.read(file);
    close(file);
    ASSERT_FALSE(failed.has_value());
    EXPECT_EQ(failed.error().code, ENOTDIR);
}

TEST(DirectoryReader, OpenDirectoryHandlesPathsLongerThanPathMax) {
    TempFolder root;
    const std::string name(250, 'p');
    std::string path = root.path();
    int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY);
    while (path.size() <= PATH_MAX + 300) {
        ASSERT_EQ(mkdirat(fd, name.c_str(), 0755), 0);
        const int next = openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY);
        close(fd);
        fd = next;
        path += "/" + name;
    }
    close(openat(fd, "marker", O_WRONLY | O_CREAT, 0644));
    close(fd);

    DirectoryReader reader;
    const auto entries = readAll(reader, path);
    EXPECT_TRUE(entries.contains("marker"));
    EXPECT_LT(openDirectory(path + "/marker"), 0);
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_LT(openDirectory(path + "/absent"), 0);
}

#include "BrantleCore/DiskScanner.hpp"
#include "BrantleServices/TreeKinds.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <utility>
#include <vector>

using brantle::FileKind;
using brantle::KindClassifier;
using brantle::TreeKinds;
using testing_support::allocatedBytes;

TEST(TreeKinds, SumsEachKindOfTheFilesBelowEveryFolder) {
    TempFolder root;
    for (const auto* folder : {"photos", "photos/raw", "music", "src", "empty"})
        root.folder(folder);
    const std::vector<std::pair<std::string, std::size_t>> files{
        {"photos/a.JPG", 30'000},    {"photos/raw/b.png", 50'000},
        {"music/song.flac", 70'000}, {"src/main.cpp", 9'000},
        {"src/Makefile", 2'000},     {"src/archive.tar.gz", 40'000},
        {"notes.txt", 5'000},        {"blob", 12'000}};
    for (const auto& [path, bytes] : files)
        root.file(path, bytes);
    auto tree = brantle::DiskScanner(brantle::ScanOptions{}, 2).scan(root.path());
    KindClassifier classifier;
    auto kinds = TreeKinds::of(tree, classifier);

    const auto bytes = [&](std::initializer_list<const char*> paths) {
        std::uint64_t sum = 0;
        for (const auto* path : paths)
            sum += allocatedBytes(root / path);
        return sum;
    };
    const auto at = [&](const char* relative) { return *tree.node(root / relative); };
    const auto whole = kinds.sizes(brantle::FileTree::root);
    using enum FileKind;
    EXPECT_EQ(whole[size_t(pictures)], bytes({"photos/a.JPG", "photos/raw/b.png"}));
    EXPECT_EQ(whole[size_t(music)], bytes({"music/song.flac"}));
    EXPECT_EQ(whole[size_t(code)], bytes({"src/main.cpp", "src/Makefile"}));
    EXPECT_EQ(whole[size_t(archives)], bytes({"src/archive.tar.gz"}));
    EXPECT_EQ(whole[size_t(documents)], bytes({"notes.txt"}));
    EXPECT_EQ(whole[size_t(other)], bytes({"blob"}));
    EXPECT_EQ(whole[size_t(video)] + whole[size_t(applications)], 0u);

    // A folder holds only what is below it; folders themselves count for nothing.
    const auto photos = kinds.sizes(at("photos"));
    EXPECT_EQ(std::accumulate(photos.begin(), photos.end(), std::uint64_t{0}),
              bytes({"photos/a.JPG", "photos/raw/b.png"}));
    EXPECT_EQ(kinds.sizes(at("empty")), brantle::KindSizes{});
    EXPECT_EQ(kinds.sizes(at("blob")), brantle::KindSizes{}); // a file has no figures
    EXPECT_EQ(kinds.kindOf(at("photos")), pictures);
    EXPECT_EQ(kinds.kindOf(at("src")), archives); // its largest kind
    EXPECT_EQ(kinds.kindOf(at("empty")), other);
    EXPECT_EQ(kinds.kindOf(at("music/song.flac")), music);

    // A removed item no longer counts, nor do the files inside a removed folder.
    tree.remove(at("photos/raw"));
    tree.remove(at("music/song.flac"));
    kinds = TreeKinds::of(tree, classifier);
    EXPECT_EQ(kinds.sizes(brantle::FileTree::root)[size_t(pictures)], bytes({"photos/a.JPG"}));
    EXPECT_EQ(kinds.sizes(brantle::FileTree::root)[size_t(music)], 0u);
    EXPECT_EQ(kinds.kindOf(at("music")), other);
}

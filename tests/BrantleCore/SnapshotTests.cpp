#include "BrantleCore/Snapshot.hpp"

#include "BrantleCore/DiskScanner.hpp"
#include "Lzfse/Lzfse.hpp"

#include "support/ChildProcess.hpp"
#include "support/TempFolder.hpp"
#include "support/TreeDump.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>

using brantle::DiskScanner;
using brantle::FileTree;
using brantle::NodeFlags;
using brantle::NodeId;
using brantle::ScanOptions;
using brantle::Snapshot;
using brantle::SnapshotError;
using brantle::SnapshotMeta;
using Kind = brantle::SnapshotError::Kind;
using Bytes = std::vector<std::uint8_t>;

namespace {

std::vector<std::string> childNames(const FileTree& tree, NodeId folder) {
    std::vector<std::string> names;
    for (const NodeId child : tree.children(folder))
        names.push_back(tree.name(child));
    return names;
}

SnapshotError errorOf(const Bytes& bytes) {
    const auto decoded = Snapshot::decode(bytes);
    EXPECT_FALSE(decoded.has_value());
    return decoded ? SnapshotError{} : decoded.error();
}

/// A snapshot whose body is the given body bytes, compressed.
Bytes withBody(const Bytes& body) {
    Bytes file{'B', 'R', 'S', '1', 2, 0};
    const Bytes compressed = lzfse::encode(body);
    file.insert(file.end(), compressed.begin(), compressed.end());
    return file;
}

Bytes bodyOf(const Bytes& file) {
    return lzfse::decode(std::span(file).subspan(Snapshot::headerSize)).value();
}

FileTree syntheticTree(std::size_t folders, std::size_t filesEach,
                       std::string_view rootPath = "/synthetic") {
    FileTree tree(rootPath);
    for (std::size_t f = 0; f < folders; ++f) {
        const NodeId folder = tree.append(FileTree::root, "folder-" + std::to_string(f), 0, 1, f,
                                          NodeFlags::directory);
        for (std::size_t i = 0; i < filesEach; ++i)
            tree.append(folder, "file-" + std::to_string(i) + ".dat", 4096 * (i + 1), 2, i, {});
    }
    tree.propagateSizes();
    return tree;
}

} // namespace

TEST(Snapshot, ScannedTreeRoundTripsThroughAFile) {
    TempFolder root;
    root.folder("docs");
    root.file("docs/a.txt", 5000);
    root.file("docs/b.txt", 9000);
    root.file("docs/c.txt", 100);
    root.folder("docs/old");
    root.file("docs/old/x", 20000);
    root.folder("media");
    root.file("media/movie.bin", 300000);
    root.file("caf\xe9.txt", 10);
    root.file("top", 1);
    ASSERT_EQ(symlink("docs", (root / "link").c_str()), 0);
    FileTree tree = DiskScanner(ScanOptions{}, 2).scan(root.path());
    tree.remove(*tree.node(root / "docs/old"));
    tree.remove(*tree.node(root / "docs/b.txt"));
    tree.remove(*tree.node(root / "top"));

    const SnapshotMeta meta{root.path(), 1763797219.123456789, 0xFEDC'BA98'7654'3210ULL};
    const std::string file = root / "store/nested/tree.brs";
    ASSERT_TRUE(Snapshot::save(tree, meta, file).has_value());
    const auto loaded = Snapshot::load(file);
    ASSERT_TRUE(loaded.has_value()) << brantle::describe(loaded.error());

    EXPECT_EQ(loaded->meta, meta);
    const FileTree& copy = loaded->tree;
    EXPECT_EQ(copy.rootPath(), root.path());
    EXPECT_EQ(treeDump(copy), treeDump(tree)) << "same paths, sizes, flags and times";
    EXPECT_EQ(copy.count(), 8u) << "only live nodes are written";
    for (NodeId id = 0; id < copy.count(); ++id)
        EXPECT_FALSE(copy.isDead(id));
    for (const char* folder : {"", "/docs", "/media"}) {
        auto names = childNames(tree, *tree.node(root.path() + folder));
        std::reverse(names.begin(), names.end());
        EXPECT_EQ(childNames(copy, *copy.node(root.path() + folder)), names) << folder;
    }
    EXPECT_EQ(copy.nameBytes(*copy.node(root / "caf\xEF\xBF\xBD.txt")), "caf\xe9.txt");

    // A new save replaces the file and removes what interrupted saves left beside it; a tree
    // of only the root survives too.
    const std::string leftOver = file + ".Ab12Cd";
    std::fclose(std::fopen(leftOver.c_str(), "w"));
    const FileTree bare("/");
    ASSERT_TRUE(Snapshot::save(bare, {"/", 0, 0}, file).has_value());
    EXPECT_FALSE(std::filesystem::exists(leftOver));
    const auto rootOnly = Snapshot::load(file);
    ASSERT_TRUE(rootOnly.has_value());
    EXPECT_EQ(rootOnly->tree.count(), 1u);
    EXPECT_EQ(rootOnly->tree.rootPath(), "/");
}

TEST(Snapshot, MalformedBytesGiveTheirError) {
    const Bytes valid = Snapshot::encode(syntheticTree(3, 4), {"/synthetic", 5, 6});
    ASSERT_TRUE(Snapshot::decode(valid).has_value());

    EXPECT_EQ(errorOf({'B', 'R', 'S', '1', 2}).kind, Kind::truncated);
    EXPECT_EQ(errorOf({}).kind, Kind::truncated);
    EXPECT_EQ(errorOf({'B', 'R', 'S', '2', 2, 0}).kind, Kind::badMagic);
    EXPECT_EQ(errorOf({'B', 'R', 'S', '1', 1, 0}), (SnapshotError{Kind::unsupportedVersion, 1}));
    EXPECT_EQ(errorOf({'B', 'R', 'S', '1', 0, 1}), (SnapshotError{Kind::unsupportedVersion, 256}));
    EXPECT_EQ(errorOf({'B', 'R', 'S', '1', 2, 0, 'n', 'o', 't', ' ', 'l', 'z'}).kind,
              Kind::decompressionFailed);
    EXPECT_EQ(errorOf({'B', 'R', 'S', '1', 2, 0}).kind, Kind::decompressionFailed);
    EXPECT_EQ(errorOf(Bytes(valid.begin(), valid.end() - 3)).kind, Kind::decompressionFailed);

    // A body cut inside the name pool, or anywhere before it.
    const Bytes body = bodyOf(valid);
    EXPECT_EQ(errorOf(withBody(Bytes(body.begin(), body.end() - 3))).kind, Kind::truncated);
    EXPECT_EQ(errorOf(withBody(Bytes(body.begin(), body.begin() + 30))).kind, Kind::truncated);
    EXPECT_EQ(errorOf(withBody({})).kind, Kind::truncated);

    // Columns that contradict each other would break the tree later: refused now.
    const std::size_t columns = 4 + std::string("/synthetic").size() + 8 + 8 + 4 + 8;
    Bytes badParent = body;
    badParent[columns + 4 * 2] = 0x40; // node 2's parent far beyond the node count
    EXPECT_EQ(errorOf(withBody(badParent)).kind, Kind::truncated);
    Bytes loop = body;
    loop[columns + 4 * 1] = 2; // node 1 below node 2, a later node
    EXPECT_EQ(errorOf(withBody(loop)).kind, Kind::truncated);
    Bytes hugeCount = body;
    hugeCount[columns - 12] = 0xFF; // the node count's low byte: more nodes than bytes
    EXPECT_EQ(errorOf(withBody(hugeCount)).kind, Kind::truncated);

    // What the format cannot hold, each refused as damage; the tree is then scanned afresh.
    using Damage = std::function<void(FileTree&)>;
    const auto damaged = [](const std::string& rootPath, const Damage& damage) {
        FileTree tree = syntheticTree(3, 4, rootPath);
        damage(tree);
        return errorOf(Snapshot::encode(tree, {rootPath, 5, 6})).kind;
    };
    const auto renamed = [](std::string name) -> Damage {
        return [name](FileTree& t) {
            auto& c = t.mutableColumns();
            c.nameOffsets[1] = static_cast<std::uint32_t>(c.names.size());
            c.nameLengths[1] = static_cast<std::uint16_t>(name.size());
            c.names.insert(c.names.end(), name.begin(), name.end());
        };
    };
    const Damage none = [](FileTree&) {};
    const std::vector<std::tuple<const char*, std::string, Damage>> cases{
        {"no nodes", "/s", [](FileTree& t) { t = FileTree("/s", FileTree::empty); }},
        {"relative root", "s", none},
        {"root holding NUL", std::string("/a\0b", 4), none},
        {"root not a folder", "/s", [](FileTree& t) { t.mutableColumns().flagBits[0] = 0; }},
        {"empty name", "/s", renamed("")},
        {"name holding NUL", "/s", renamed(std::string("a\0", 2))},
        {"name holding /", "/s", renamed("a/b")},
        {"name .", "/s", renamed(".")},
        {"name ..", "/s", renamed("..")},
        {"unknown flag", "/s", [](FileTree& t) { t.mutableColumns().flagBits[1] |= 0x400; }},
        {"folder smaller than its contents", "/s",
         [](FileTree& t) { t.mutableColumns().sizes[0] -= 1; }},
        {"size near 2^64", "/s",
         [](FileTree& t) { t.mutableColumns().sizes[t.count() - 1] = ~std::uint64_t{0} - 2; }},
    };
    for (const auto& [name, rootPath, damage] : cases)
        EXPECT_EQ(damaged(rootPath, damage), Kind::truncated) << name;
}

TEST(Snapshot, LoadPassesOnTheSystemsError) {
    TempFolder root;
    const auto missing = Snapshot::load(root / "missing.brs");
    ASSERT_FALSE(missing.has_value());
    ASSERT_TRUE(std::holds_alternative<std::error_code>(missing.error()));
    EXPECT_EQ(std::get<std::error_code>(missing.error()), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(Snapshot::load(root.path()).has_value()) << "a folder is no snapshot";
    root.file("blocker");
    EXPECT_FALSE(Snapshot::save(FileTree("/x"), {"/x", 0, 0}, root / "blocker/s.brs"));
}

// The child saves a large tree again and again; killed at any moment, the file on disk is
// still a whole snapshot, the old one or the new one.
TEST(Snapshot, KilledSaveLeavesAWholeSnapshot) {
    TempFolder root;
    const std::string file = root / "snapshots/target.brs";
    const FileTree small = syntheticTree(2, 2);
    const SnapshotMeta before{"/synthetic", 1, 1};
    ASSERT_TRUE(Snapshot::save(small, before, file).has_value());
    const FileTree large = syntheticTree(300, 1000);
    const SnapshotMeta after{"/synthetic", 2, 2};

    for (int round = 0; round < 3; ++round) {
        int started[2];
        ASSERT_EQ(pipe(started), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (;;) {
                const char ready = 'r';
                if (write(started[1], &ready, 1) != 1) _exit(1);
                (void)Snapshot::save(large, after, file);
            }
        }
        char ready = 0;
        ASSERT_EQ(read(started[0], &ready, 1), 1);
        if (round > 0) usleep(50000 * round);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(started[0]);
        close(started[1]);

        const auto loaded = Snapshot::load(file);
        ASSERT_TRUE(loaded.has_value()) << brantle::describe(loaded.error());
        if (loaded->meta == before) {
            EXPECT_EQ(loaded->tree.count(), small.count());
        } else {
            EXPECT_EQ(loaded->meta, after);
            EXPECT_EQ(loaded->tree.count(), large.count());
        }
    }
}

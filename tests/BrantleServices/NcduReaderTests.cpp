// ncdu exports as ncdu writes them, read into trees; bad input refused with a reason.
#include "BrantleServices/NcduReader.hpp"
#include "BrantleServices/NcduWriter.hpp"

#include "support/TreeDump.hpp"

#include <gtest/gtest.h>

using namespace brantle;

namespace {

std::string exportOf(const std::string& rootEntries) {
    return R"([1,2,{"progname":"ncdu","progver":"1.18","timestamp":1700000000},)"
           "\n" +
           rootEntries + "]\n";
}

} // namespace

TEST(NcduReader, EntriesKeepTheirMeaning) {
    constexpr auto dir = NodeFlags::directory.rawValue;
    constexpr auto mount = NodeFlags::mountPoint.rawValue;
    constexpr auto link = NodeFlags::symlink.rawValue;
    constexpr auto unreadable = NodeFlags::unreadable.rawValue;
    constexpr auto duplicate = NodeFlags::hardlinkDuplicate.rawValue;
    struct Case {
        const char* what;
        std::string root;
        std::string dump;
    };
    const Case cases[] = {
        {"sizes are dsize, a folder's own blocks included",
         R"([{"name":"/r","asize":4096,"dsize":4096,"dev":1},)"
         R"({"name":"f","asize":10,"dsize":4096,"mtime":5},)"
         R"([{"name":"d","dsize":4096},{"name":"g","asize":9000,"dsize":12288}]])",
         "/r size=24576 flags=1\n/r/d size=16384 flags=1\n/r/d/g size=12288 flags=0\n"
         "/r/f size=4096 flags=0\n"},
        {"hard links count once per device and inode, by hlnkc or nlink",
         R"([{"name":"/r","dev":1},{"name":"a","dsize":8192,"ino":7,"hlnkc":true},)"
         R"([{"name":"d"},{"name":"b","dsize":8192,"ino":7,"hlnkc":true},)"
         R"({"name":"c","dsize":100,"ino":8,"nlink":2}],)"
         R"({"name":"e","dsize":100,"ino":8,"nlink":2},)"
         R"([{"name":"m","dev":2},{"name":"x","dsize":8192,"ino":7,"hlnkc":true}],)"
         R"({"name":"single","dsize":300,"ino":9}])",
         ""},
        {"other and kernel file systems are mount points; patterns and firmlinks leave out",
         R"([{"name":"/r"},{"name":"proc","excluded":"kernfs"},)"
         R"({"name":"mnt","excluded":"otherfs","dsize":4096},)"
         R"({"name":"skip","excluded":"pattern","dsize":4096},)"
         R"([{"name":"fl","excluded":"frmlnk"},{"name":"in","dsize":4096}],)"
         R"([{"name":"far","excluded":"otherfs"},{"name":"in","dsize":4096}]])",
         "/r size=0 flags=1\n/r/far size=0 flags=" + std::to_string(dir | mount) +
             "\n/r/mnt size=0 flags=" + std::to_string(dir | mount) +
             "\n/r/proc size=0 flags=" + std::to_string(dir | mount) + "\n"},
        {"read errors make entries unreadable; not-regular entries are links unless a mode says",
         R"([{"name":"/r"},[{"name":"locked","read_error":true}],)"
         R"({"name":"gone","read_error":true},{"name":"ln","dsize":4096,"notreg":true},)"
         R"({"name":"fifo","notreg":true,"mode":4480},{"name":"ln2","notreg":true,"mode":41471}])",
         "/r size=4096 flags=1\n/r/fifo size=0 flags=0\n/r/gone size=0 flags=" +
             std::to_string(unreadable) + "\n/r/ln size=4096 flags=" + std::to_string(link) +
             "\n/r/ln2 size=0 flags=" + std::to_string(link) +
             "\n/r/locked size=0 flags=" + std::to_string(dir | unreadable) + "\n"},
    };
    for (const Case& c : cases) {
        const auto read = NcduReader::read(exportOf(c.root));
        ASSERT_TRUE(read.has_value()) << c.what << ": " << read.error();
        EXPECT_EQ(read->meta.scannedAt, 1700000000) << c.what;
        EXPECT_EQ(read->meta.rootPath, "/r") << c.what;
        if (!c.dump.empty()) {
            EXPECT_EQ(treeDump(read->tree, false), c.dump) << c.what;
            continue;
        }
        // The hard links: 8192 once on device 1 and once on device 2, 100 once, 300.
        const FileTree& tree = read->tree;
        EXPECT_EQ(tree.size(FileTree::root), 8192u * 2 + 100 + 300) << c.what;
        int duplicates = 0;
        for (NodeId id = 1; id < tree.count(); ++id) {
            if (tree.flags(id).contains(NodeFlags(duplicate))) {
                ++duplicates;
                EXPECT_EQ(tree.size(id), 0u);
            }
        }
        EXPECT_EQ(duplicates, 2) << c.what;
    }
}

TEST(NcduReader, RefusesWhatIsNotAnExport) {
    const std::string deep = std::string(5000, '[') + std::string(5000, ']');
    const char* const tooBig = R"({"name":"a","dsize":18446744073709551615},)"
                               R"({"name":"b","dsize":1})";
    const std::string cases[] = {
        "",
        "[",
        "{}",
        "[1,2,{}]",
        R"([2,0,{},[{"name":"/r"}]])",
        R"([1,0,{},{"name":"/r"}])",
        R"([1,0,{},[]])",
        R"([1,0,{},[{"dsize":1}]])",
        R"([1,0,{},[{"name":""}]])",
        R"([1,0,{},[{"name":"/r"},{"name":"a/b"}]])",
        R"([1,0,{},[{"name":"/r"},{"name":".."}]])",
        R"([1,0,{},[{"name":"/r"},{"name":"a","dsize":-1}]])",
        R"([1,0,{},[{"name":"/r"},{"name":"a","dsize":"big"}]])",
        R"([1,0,{},[{"name":"/r"},{"name":"a","hlnkc":1}]])",
        R"([1,0,{},[{"name":"/r"},)" + std::string(tooBig) + "]]",
        R"([1,0,{},[{"name":"/r"},{"name":"a"}]] [])",
        R"([1,0,{},[{"name":"/r"},{"name":"a"},]])",
        R"([1,0,{},[{"name":"/r"},{"name":"a"} ]])"
        "\xff",
        R"([1,0,{},[{"name":"/r"},{"name":"a"]])",
        R"([1,0,{},[{"name":"/r"},)" + deep + "]]",
    };
    for (const std::string& json : cases) {
        const auto read = NcduReader::read(json);
        ASSERT_FALSE(read.has_value()) << json;
        EXPECT_TRUE(read.error().starts_with("not an ncdu export: ")) << read.error();
    }
}

TEST(NcduReader, ReadsBackWhatTheWriterWroteByteForByte) {
    FileTree tree("/data");
    const NodeId folder = tree.append(FileTree::root, "d\"q\\", 0, 9, 2, NodeFlags::directory);
    tree.append(folder, "latin1-\xe9\xff", 4096, 10, 3, {});
    tree.append(folder, "escape-lookalike-\xef\x9f\xbf", 8192, 11, 4, {});
    tree.append(folder, "tab\tnew\nline", 512, 12, 5, NodeFlags::unreadable);
    tree.append(FileTree::root, "link", 4096, 13, 6, NodeFlags::symlink);
    tree.append(FileTree::root, "mnt", 0, 14, 7, NodeFlags::directory | NodeFlags::mountPoint);
    tree.append(FileTree::root, "one", 12288, 15, 8, {});
    tree.append(folder, "two", 0, 15, 8, NodeFlags::hardlinkDuplicate);
    tree.propagateSizes();
    const std::string json = NcduWriter::write(tree, {"/data", 1700000000.5, 0});
    const auto read = NcduReader::read(json);
    ASSERT_TRUE(read.has_value()) << read.error();
    EXPECT_EQ(treeDump(read->tree), treeDump(tree)) << json;
}

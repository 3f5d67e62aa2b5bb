// brantle export and import against the real ncdu, and brantle diff of two scans of a tree
// changed in known ways, run as a user would.
#include "BrantleCore/Snapshot.hpp"

#include "support/CommandOutput.hpp"
#include "support/TempFolder.hpp"
#include "support/TreeDump.hpp"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <map>

using namespace brantle;

namespace {

std::string run(const std::string& command, int expectedStatus = 0) {
    int status = -1;
    const std::string out = commandOutput(command + " 2>&1", &status);
    EXPECT_EQ(status, expectedStatus) << command << "\n" << out;
    return out;
}

FileTree loaded(const std::string& file) {
    auto contents = Snapshot::load(file);
    if (!contents) {
        ADD_FAILURE() << file << ": " << describe(contents.error());
        return FileTree("/");
    }
    return std::move(contents->tree);
}

/// A small tree with a hard link across folders, a symbolic link, an empty folder, an
/// awkward name and a name that is not UTF-8.
void makeTree(const TempFolder& root) {
    root.folder("a");
    root.folder("a/deep");
    root.folder("c");
    root.folder("empty");
    root.file("a/one", 5000);
    root.file("a/deep/two", 70000);
    root.file("three \"q\" \\", 9000);
    root.file("latin-\xe9", 100);
    ASSERT_EQ(link((root / "a/one").c_str(), (root / "c/one-again").c_str()), 0);
    ASSERT_EQ(symlink("a/one", (root / "to-one").c_str()), 0);
}

} // namespace

TEST(InterchangeCommands, ScansTravelToNcduAndBack) {
    TempFolder root;
    TempFolder work;
    makeTree(root);
    const std::string brantle = std::string(AMBREL_BRANTLE) + " ";
    const std::string scanned = work / "scan.brs";
    run(brantle + "scan " + quoted(root.path()) + " --save " + quoted(scanned));
    run(brantle + "export " + quoted(scanned) + " -o " + quoted(work / "ours.json"));
    run("ncdu -f " + quoted(work / "ours.json") + " -o " + quoted(work / "reexported.json"));
    run(brantle + "import " + quoted(work / "reexported.json") + " --save " +
        quoted(work / "back.brs"));
    run("ncdu -o " + quoted(work / "theirs.json") + " " + quoted(root.path()));
    run(brantle + "import " + quoted(work / "theirs.json") + " --save " +
        quoted(work / "theirs.brs"));

    ASSERT_EQ(loaded(scanned).count(), 11u);
    const std::string expected = treeDumpWithLinksAlike(loaded(scanned));
    for (const char* file : {"back.brs", "theirs.brs"})
        EXPECT_EQ(treeDumpWithLinksAlike(loaded(work / file)), expected) << file;
    const std::string toStdout = run(brantle + "export " + quoted(scanned));
    EXPECT_EQ(toStdout, commandOutput("cat " + quoted(work / "ours.json")));
}

TEST(InterchangeCommands, RefusesWhatIsNotAnExport) {
    TempFolder work;
    const std::string brantle = std::string(AMBREL_BRANTLE) + " ";
    writeFile(work / "cut.json", R"([1,2,{},[{"name":"/r"},{"name":"a","dsize":4096)");
    run(brantle + "scan " + quoted(work / "") + " --save " + quoted(work / "empty.brs"));
    struct Case {
        std::string arguments;
        int status;
        std::string says;
    };
    const Case cases[] = {
        {"import " + quoted(work / "cut.json") + " --save " + quoted(work / "out.brs"), 1,
         "cut.json: not an ncdu export: malformed JSON"},
        {"import " + quoted(work / "missing.json") + " --save " + quoted(work / "out.brs"), 1,
         "missing.json: cannot read"},
        {"import " + quoted(work / "cut.json"), 2, "usage: brantle import"},
        {"export " + quoted(work / "cut.json"), 1, "cut.json"},
        {"export " + quoted(work / "empty.brs") + " -o " + quoted(work / "no/such/x.json"), 1,
         "cannot write " + work.path() + "/no/such/x.json: No such file or directory"},
        {"diff " + quoted(work / "cut.json"), 2, "usage: brantle diff"},
    };
    for (const Case& c : cases) {
        const std::string said = run(brantle + c.arguments, c.status);
        EXPECT_NE(said.find(c.says), std::string::npos) << c.arguments << "\n" << said;
    }
    EXPECT_FALSE(std::filesystem::exists(work / "out.brs"));
}

TEST(InterchangeCommands, DiffReportsTheExactChangesLargestFirst) {
    TempFolder root;
    TempFolder work;
    root.folder("a");
    root.folder("gone");
    root.file("a/keep", 3 * 4096);
    root.file("a/grow", 4096);
    root.file("shrink", 10 * 4096);
    root.file("gone/x", 4 * 4096);
    const std::string brantle = std::string(AMBREL_BRANTLE) + " ";
    run(brantle + "scan " + quoted(root.path()) + " --save " + quoted(work / "old.brs"));
    const auto sizeOf = [&](const char* relative) {
        return testing_support::allocatedBytes(root / relative);
    };
    const std::uint64_t grewFrom = sizeOf("a/grow");
    const std::uint64_t shrankFrom = sizeOf("shrink");
    const std::uint64_t oldA = sizeOf("a") + sizeOf("a/keep") + grewFrom;
    const std::uint64_t oldGone = sizeOf("gone") + sizeOf("gone/x");
    const std::uint64_t oldTotal = sizeOf("") + oldA + shrankFrom + oldGone;
    root.file("a/grow", 5 * 4096);
    root.file("shrink", 4096);
    std::filesystem::remove_all(root / "gone");
    root.file("new", 2 * 4096);
    run(brantle + "scan " + quoted(root.path()) + " --save " + quoted(work / "new.brs"));
    const std::uint64_t newA = sizeOf("a") + sizeOf("a/keep") + sizeOf("a/grow");
    const std::uint64_t newTotal = sizeOf("") + newA + sizeOf("shrink") + sizeOf("new");

    const std::string out = run(brantle + "diff " + quoted(work / "old.brs") + " " +
                                quoted(work / "new.brs") + " --json");
    const QJsonArray changes =
        QJsonDocument::fromJson(QByteArray::fromStdString(out)).object()["changes"].toArray();
    struct Expected {
        std::string path;
        std::uint64_t oldSize;
        std::uint64_t newSize;
        const char* change;
    };
    const Expected expected[] = {
        {"/shrink", shrankFrom, sizeOf("shrink"), "shrunk"},
        {"", oldTotal, newTotal, "shrunk"},
        {"/gone", oldGone, 0, "removed"},
        {"/a", oldA, newA, "grown"},
        {"/a/grow", grewFrom, sizeOf("a/grow"), "grown"},
        {"/new", 0, sizeOf("new"), "new"},
    };
    ASSERT_EQ(changes.size(), std::size(expected)) << out;
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        const QJsonObject change = changes[static_cast<qsizetype>(i)].toObject();
        const Expected& e = expected[i];
        EXPECT_EQ(change["path"].toString().toStdString(), root.path() + e.path) << i;
        EXPECT_EQ(change["oldSize"].toInteger(), static_cast<qint64>(e.oldSize)) << e.path;
        EXPECT_EQ(change["newSize"].toInteger(), static_cast<qint64>(e.newSize)) << e.path;
        EXPECT_EQ(change["change"].toString(), e.change) << e.path;
    }
    const std::string human =
        run(brantle + "diff " + quoted(work / "old.brs") + " " + quoted(work / "new.brs"));
    EXPECT_TRUE(human.starts_with("shrunk")) << human;
    EXPECT_NE(human.find("removed"), std::string::npos) << human;
    EXPECT_EQ(run(brantle + "diff " + quoted(work / "new.brs") + " " + quoted(work / "new.brs")),
              "no changes\n");
}

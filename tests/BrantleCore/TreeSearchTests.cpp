#include "BrantleCore/TreeSearch.hpp"

#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/Glob.hpp"

#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <clocale>
#include <ctime>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>

using brantle::DiskScanner;
using brantle::FileTree;
using brantle::ScanOptions;
using brantle::SearchQuery;
using brantle::TreeSearch;

namespace {

constexpr std::int64_t day = 86400;
const std::int64_t now = static_cast<std::int64_t>(std::time(nullptr));

struct Made {
    const char* path;
    std::size_t bytes;
    std::int64_t daysOld;
};

// Sizes differ by at least a block, so the order by size is certain.
constexpr Made fixture[] = {
    {"Photos/IMG_0001.JPG", 200 << 10, 400}, {"Photos/img_0002.jpg", 50 << 10, 0},
    {"Documents/Report.PDF", 10 << 10, 40},  {"Documents/old-report.txt", 14 << 10, 0},
    {"Documents/Über.txt", 6 << 10, 0},      {"report-draft.md", 3 << 10, 0},
};

void setAge(const std::string& path, std::int64_t daysOld) {
    const timespec when{static_cast<time_t>(now - daysOld * day), 0};
    const timespec times[2] = {when, when};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

class TreeSearchTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::setlocale(LC_CTYPE, "C.UTF-8"); // the window's locale: letters beyond ASCII fold
        root.folder("Photos");
        root.folder("Documents");
        for (const auto& made : fixture) {
            root.file(made.path, made.bytes);
            setAge(root / made.path, made.daysOld);
        }
        tree = DiskScanner(ScanOptions{}, 1).scan(root.path());
    }
    void TearDown() override { std::setlocale(LC_CTYPE, "C"); }

    std::vector<std::string> names(const SearchQuery& query, std::size_t limit = 50) {
        TreeSearch search(tree);
        std::vector<std::string> out;
        for (const auto& hit : search.run(query, limit).hits)
            out.push_back(tree.name(hit.node));
        return out;
    }

    TempFolder root;
    FileTree tree{"/"};
};

using Names = std::vector<std::string>;

SearchQuery query(std::string name, std::uint64_t largerThan = 0,
                  std::optional<std::int64_t> since = std::nullopt) {
    return {std::move(name), largerThan, since};
}

TEST_F(TreeSearchTest, EachKindOfQueryFindsItsItemsLargestFirst) {
    const struct {
        const char* what;
        SearchQuery query;
        Names expected;
    } cases[] = {
        {"plain text anywhere in the name, any case",
         query("REPORT"),
         {"old-report.txt", "Report.PDF", "report-draft.md"}},
        {"letters beyond ASCII fold too", query("über"), {"Über.txt"}},
        {"a glob matches the whole name, any case",
         query("*.jpg"),
         {"IMG_0001.JPG", "img_0002.jpg"}},
        {"a glob is anchored", query("rep*"), {"Report.PDF", "report-draft.md"}},
        {"brackets and question marks", query("img_000[2-9].???"), {"img_0002.jpg"}},
        {"larger than, folders included", query("", 100 << 10), {"Photos", "IMG_0001.JPG"}},
        {"larger than with a name", query("jpg", 40 << 10), {"IMG_0001.JPG", "img_0002.jpg"}},
        {"not modified for 30 days", query("", 0, now - 30 * day), {"IMG_0001.JPG", "Report.PDF"}},
        {"all three", query("*.*", 100 << 10, now - 30 * day), {"IMG_0001.JPG"}},
        {"nothing asked, nothing found", query(""), {}},
        {"no match", query("missing"), {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(names(c.query), c.expected) << c.what;
}

TEST_F(TreeSearchTest, ListsTheLargestAndCountsEveryMatch) {
    TreeSearch search(tree);
    const auto all = search.run(query("*"), 100);
    ASSERT_EQ(all.matchCount, std::size(fixture) + 2); // the two folders
    for (std::size_t i = 1; i < all.hits.size(); ++i)
        EXPECT_GE(all.hits[i - 1].size, all.hits[i].size);
    const auto top = search.run(query("*"), 3);
    EXPECT_EQ(top.matchCount, all.matchCount);
    EXPECT_EQ(top.hits, std::vector(all.hits.begin(), all.hits.begin() + 3));
}

TEST_F(TreeSearchTest, ItemsOfARemovedFolderAreGone) {
    tree.remove(*tree.node(root / "Documents"));
    EXPECT_EQ(names(query("report")), Names{"report-draft.md"});
}

} // namespace

// The byte matcher stands in for fnmatch on ASCII names, so fnmatch is its judge.
TEST(Glob, AgreesWithFnmatch) {
    const char* patterns[] = {"*.iso", "img_????.jpg", "*[0-9]*", "[!a-m]*", "[^.]*", "[]x]*",
                              "a\\*b", "[a-",          "*a*b*c",  "**",      "[z-a]", "\\"};
    const char* names[] = {"disk.iso", "img_0042.jpg", "img_42.jpg", "notes",  ".hidden", "]x",
                           "a*b",      "ab",           "[a-",        "xaybzc", "",        "\\"};
    for (const char* pattern : patterns) {
        const brantle::Glob glob(pattern);
        if (!glob.isWellFormed()) continue;
        for (const char* name : names)
            EXPECT_EQ(glob.matches(name), fnmatch(pattern, name, 0) == 0)
                << pattern << " against " << name;
    }
    EXPECT_FALSE(brantle::Glob("[a-").isWellFormed());
    EXPECT_FALSE(brantle::Glob("a\\").isWellFormed());
}

#include "AmbrelModel/SearchResults.hpp"

#include "BrantleCore/DiskScanner.hpp"

#include "ModelEnvironment.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

using ambrel::SearchResults;

namespace {

std::shared_ptr<const brantle::FileTree> scan(const TempFolder& root) {
    return std::make_shared<const brantle::FileTree>(
        brantle::DiskScanner(brantle::ScanOptions{}, 1).scan(root.path()));
}

QString cell(const SearchResults& results, int row, SearchResults::Role role) {
    return results.data(results.index(row), role).toString();
}

TEST(SearchResults, RowsFollowTheQueryAndTheTree) {
    TempFolder root;
    root.folder("Movies");
    root.file("Movies/Holiday.mkv", 40 << 10);
    root.file("holiday-notes.txt", 8 << 10);
    SearchResults results;
    const auto tree = scan(root);
    results.setTree(tree);

    // Typed one key after another: only the last query's rows stay.
    for (const auto* typed : {"h", "ho", "hol", "HOLIDAY"})
        results.setText(QString::fromUtf8(typed));
    results.waitForResults();
    ASSERT_EQ(results.rowCount(), 2);
    EXPECT_EQ(results.summary(), "2 items");
    EXPECT_EQ(cell(results, 0, SearchResults::NameRole), "Holiday.mkv");
    EXPECT_EQ(cell(results, 0, SearchResults::FolderPathRole),
              QString::fromStdString(root / "Movies"));
    EXPECT_EQ(cell(results, 0, SearchResults::PathRole),
              QString::fromStdString(root / "Movies/Holiday.mkv"));
    EXPECT_EQ(results.folderToShow(0), static_cast<int>(*tree->node(root / "Movies")));

    results.setLargerThan(20 << 10);
    results.waitForResults();
    EXPECT_EQ(results.summary(), "1 item");

    // Another tree: the old rows go at once, the new tree's follow.
    root.file("Movies/Holiday 2.mkv", 60 << 10);
    results.setTree(scan(root));
    EXPECT_EQ(results.rowCount(), 0);
    results.waitForResults();
    EXPECT_EQ(results.rowCount(), 2);
    EXPECT_EQ(cell(results, 0, SearchResults::NameRole), "Holiday 2.mkv");

    results.setText("");
    results.setLargerThan(0);
    results.waitForResults();
    EXPECT_EQ(results.rowCount(), 0);
    EXPECT_EQ(results.summary(), "");
}

} // namespace

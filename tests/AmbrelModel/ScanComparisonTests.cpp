// The previous snapshot of a target and what the model shows of the changes since, from real
// scans of a folder changed in known ways.
#include "ModelEnvironment.hpp"

#include "AmbrelModel/StoredSnapshot.hpp"
#include "BrantleCore/ByteFormat.hpp"

#include <filesystem>
#include <map>

using ambrel::AppModel;
using brantle::NodeChange;
using testing_support::allocatedBytes;

namespace {

brantle::FileTree treeOf(const std::string& root, std::uint64_t bytes) {
    brantle::FileTree tree(root);
    tree.append(brantle::FileTree::root, "file", bytes, 0, 1, {});
    tree.propagateSizes();
    return tree;
}

std::int64_t grewBy(std::uint64_t before, std::uint64_t after) {
    return static_cast<std::int64_t>(after) - static_cast<std::int64_t>(before);
}

} // namespace

TEST(StoredSnapshot, KeepsOnePreviousGenerationUntilCleared) {
    TempFolder root;
    namespace store = ambrel::StoredSnapshot;
    EXPECT_FALSE(store::loadPrevious(root.path()));
    for (const std::uint64_t bytes : {1'000, 2'000, 3'000})
        store::save(treeOf(root.path(), bytes), 7);
    const auto current = store::load(root.path());
    const auto previous = store::loadPrevious(root.path());
    ASSERT_TRUE(current && previous);
    EXPECT_EQ(current->tree.size(brantle::FileTree::root), 3'000u);
    EXPECT_EQ(previous->tree.size(brantle::FileTree::root), 2'000u);
    EXPECT_LE(previous->meta.scannedAt, current->meta.scannedAt);

    EXPECT_GT(store::clearAll(), 0u);
    EXPECT_FALSE(store::load(root.path()));
    EXPECT_FALSE(store::loadPrevious(root.path()));
}

TEST(ScanComparison, ShowsEachChangeSinceThePreviousScan) {
    TempFolder root;
    root.file("grows.bin", 100'000);
    root.file("shrinks.bin", 300'000);
    root.file("goes.bin", 50'000);
    root.file("same.bin", 30'000);
    root.folder("docs");
    const auto before = [&](const char* name) { return allocatedBytes(root / name); };
    const auto grows = before("grows.bin"), shrinks = before("shrinks.bin");

    AppModel model;
    const auto& comparison = *model.comparison();
    model.scanTarget(ambrel::ScanTarget::folder(root.path()));
    ASSERT_TRUE(settleReady(model));
    model.waitForBackgroundWork();
    QCoreApplication::processEvents();
    EXPECT_FALSE(comparison.available()) << "the first scan has nothing to compare with";

    root.file("grows.bin", 400'000);
    root.file("shrinks.bin", 20'000);
    std::filesystem::remove(root / "goes.bin");
    root.folder("docs/fresh");
    root.file("docs/fresh/inner.bin", 70'000);
    model.scanAgain();
    const auto node = [&](const char* name) { return *model.tree()->node(root / name); };
    ASSERT_TRUE(settle(model, [&] {
        return model.phase() == AppModel::Phase::Ready && comparison.available() &&
               comparison.changeText(static_cast<int>(node("docs/fresh"))) == "new";
    }));
    EXPECT_TRUE(comparison.sinceText().startsWith("Changes since "));

    const auto inner = allocatedBytes(root / "docs/fresh/inner.bin");
    const struct {
        const char* name;
        NodeChange state;
        std::int64_t delta;
    } expected[] = {
        {"grows.bin", NodeChange::grown, grewBy(grows, allocatedBytes(root / "grows.bin"))},
        {"shrinks.bin", NodeChange::shrunk, grewBy(shrinks, allocatedBytes(root / "shrinks.bin"))},
        {"same.bin", NodeChange::unchanged, 0},
        {"docs/fresh", NodeChange::added, grewBy(0, model.tree()->size(node("docs/fresh")))},
        {"docs/fresh/inner.bin", NodeChange::added, grewBy(0, inner)},
    };
    for (const auto& item : expected) {
        EXPECT_EQ(comparison.state(node(item.name)), item.state) << item.name;
        EXPECT_EQ(comparison.delta(node(item.name)), item.delta) << item.name;
    }
    EXPECT_EQ(comparison.changeText(static_cast<int>(node("grows.bin"))).toStdString(),
              "+" + brantle::formatBytes(static_cast<std::uint64_t>(expected[0].delta)));
    EXPECT_EQ(comparison.changeText(static_cast<int>(node("shrinks.bin"))).toStdString(),
              "−" + brantle::formatBytes(static_cast<std::uint64_t>(-expected[1].delta)));

    // The listed changes include the removed file, which the new tree no longer holds.
    std::map<QString, QString> listed;
    for (const auto& row : comparison.largestRows()) {
        const auto map = row.toMap();
        listed[map["path"].toString()] = map["change"].toString();
    }
    const auto path = [&](const char* name) { return QString::fromStdString(root / name); };
    EXPECT_EQ(listed[path("goes.bin")], "removed");
    EXPECT_EQ(listed[path("docs/fresh")], "new");
    EXPECT_EQ(listed.count(path("docs/fresh/inner.bin")), 0u) << "inside a new folder";
    EXPECT_EQ(listed.count(path("same.bin")), 0u);
    EXPECT_EQ(listed[path("grows.bin")],
              comparison.changeText(static_cast<int>(node("grows.bin"))));
}

TEST(ScanComparison, ARefreshedTreeKeepsTheLastChangesByPathUntilItsOwnArrive) {
    TempFolder root;
    ambrel::StoredSnapshot::save(treeOf(root.path(), 1'000), 7);
    ambrel::StoredSnapshot::save(treeOf(root.path(), 2'000), 8);
    ambrel::ScanComparison comparison([](const std::function<void()>& work) { work(); });
    const auto compared = std::make_shared<const brantle::FileTree>(treeOf(root.path(), 3'000));
    comparison.show(compared);
    QCoreApplication::processEvents();
    ASSERT_EQ(comparison.state(1), NodeChange::grown);

    // The refresh has its file first: node ids differ, the path does not.
    brantle::FileTree refreshed(root.path());
    refreshed.append(brantle::FileTree::root, "other", 10, 0, 2, {});
    const auto file = refreshed.append(brantle::FileTree::root, "file", 3'000, 0, 1, {});
    comparison.show(std::make_shared<const brantle::FileTree>(std::move(refreshed)),
                    ambrel::JobPacer::Pace::spaced);
    QCoreApplication::processEvents();
    EXPECT_EQ(comparison.state(file), NodeChange::grown);
    EXPECT_EQ(comparison.delta(file), grewBy(1'000, 3'000)); // the generation before the stored one
    EXPECT_EQ(comparison.state(1), NodeChange::unchanged) << "\"other\" is not in the last one";
}

// A shown tree that follows changes made outside the application, and excluded folders kept
// out of the model's scans and catch-ups; on real folders.
#include "ModelEnvironment.hpp"

#include "AmbrelModel/TreeWatch.hpp"

#include <QElapsedTimer>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>

using ambrel::AppModel;
using ambrel::ScanTarget;
using namespace std::chrono_literals;

namespace {

/// Processes events until `done` holds or `limit` passes; the model's work arrives as events.
/// Waiting for the pool first orders its threads' writes before their results are read, in a
/// way ThreadSanitizer can see (Qt's event queue locks with bare futexes).
bool waitFor(AppModel& model, const std::function<bool()>& done, std::chrono::milliseconds limit) {
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > limit.count()) return false;
        model.waitForBackgroundWork();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

/// The watch's delay plus room for the refresh on a loaded machine (or under a sanitizer).
constexpr auto watchDelay = ambrel::TreeWatch::coalesceDelay + 8s;

bool shows(const AppModel& model, const std::string& path) {
    return model.tree() && model.tree()->node(path).has_value();
}

std::uint64_t rootSize(const AppModel& model) {
    return model.tree()->size(brantle::FileTree::root);
}

void scanShown(AppModel& model, const TempFolder& root) {
    model.scanTarget(ScanTarget::folder(root.path()));
    ASSERT_TRUE(settleReady(model));
    model.setWindowShown(true);
}

} // namespace

TEST(LiveTree, ChangesInTheFocusedSubtreeReachTheModelWithinTheWatchDelay) {
    TempFolder root;
    root.folder("a");
    root.folder("a/deep");
    root.file("a/deep/big", 600'000);
    root.folder("gone");
    root.file("gone/x", 40'000);
    AppModel model;
    scanShown(model, root);
    ASSERT_GT(model.treeWatch().watchCount(), 0u);

    const struct {
        const char* what;
        std::function<void()> change;
        std::string path;
        bool present;
        int sizeMove; ///< the sign of the root's change; 0: a folder's own blocks, if any
    } cases[] = {
        {"file deleted", [&] { std::remove((root / "a/deep/big").c_str()); }, root / "a/deep/big",
         false, -1},
        {"file added", [&] { root.file("a/new", 80'000); }, root / "a/new", true, +1},
        {"folder removed", [&] { std::filesystem::remove_all(root / "gone"); }, root / "gone",
         false, -1},
        {"folder added", [&] { root.folder("a/later"); }, root / "a/later", true, 0},
        // Seen only if the folder made after the scan was watched once the tree held it.
        {"file in the new folder", [&] { root.file("a/later/inside", 8'000); },
         root / "a/later/inside", true, +1},
    };
    for (const auto& test : cases) {
        const auto before = rootSize(model);
        test.change();
        EXPECT_TRUE(waitFor(
            model, [&] { return shows(model, test.path) == test.present; }, watchDelay))
            << test.what;
        if (test.sizeMove != 0) {
            EXPECT_EQ(rootSize(model) > before ? 1 : -1, test.sizeMove) << test.what;
        }
    }
    model.setWindowShown(false);
    EXPECT_EQ(model.treeWatch().watchCount(), 0u);
}

TEST(LiveTree, TheRegularCatchUpTakesInChangesOutsideTheFocus) {
    TempFolder root;
    root.folder("focus");
    root.folder("elsewhere");
    root.file("elsewhere/big", 300'000);
    AppModel model;
    scanShown(model, root);
    model.focusOn(static_cast<int>(*model.tree()->node(root / "focus")));
    std::remove((root / "elsewhere/big").c_str());
    model.catchUpLiveTree();
    EXPECT_TRUE(waitFor(
        model, [&] { return !shows(model, root / "elsewhere/big"); }, watchDelay));
    EXPECT_EQ(model.tree()->path(model.focus()), root / "focus");
}

TEST(LiveTree, ExcludedFoldersStayOutOfScansAndCatchUps) {
    TempFolder root;
    root.folder("skip");
    root.file("skip/big", 200'000);
    root.file("kept", 4'000);
    AppModel model;
    model.addExcludedFolder(QString::fromStdString("file://" + root / "skip"));
    ASSERT_EQ(model.excludedFolders(), QStringList{QString::fromStdString(root / "skip")});
    scanShown(model, root);
    EXPECT_FALSE(shows(model, root / "skip"));
    EXPECT_TRUE(shows(model, root / "kept"));

    // A change beside the excluded folder makes its parent read again; it stays out.
    root.file("skip/more", 9'000);
    root.file("new", 4'000);
    EXPECT_TRUE(waitFor(
        model, [&] { return shows(model, root / "new"); }, watchDelay));
    model.catchUpLiveTree();
    model.waitForBackgroundWork();
    QCoreApplication::processEvents();
    EXPECT_FALSE(shows(model, root / "skip"));

    model.removeExcludedFolder(QString::fromStdString(root / "skip"));
    EXPECT_TRUE(model.excludedFolders().isEmpty());
    model.scanAgain();
    ASSERT_TRUE(settleReady(model));
    EXPECT_TRUE(shows(model, root / "skip/more"));
}

TEST(TreeWatch, WatchesNearestFoldersFirstWithinItsBudget) {
    TempFolder root;
    for (const char* folder : {"a", "b", "a/inner"})
        root.folder(folder);
    brantle::DiskScanner scanner(brantle::ScanOptions{}, 1);
    const brantle::FileTree tree = scanner.scan(root.path());
    ambrel::TreeWatch watch;
    for (const auto& [budget, fits] : {std::pair{4u, true}, {2u, false}, {3u, false}}) {
        watch.setBudget(budget);
        EXPECT_EQ(watch.follow(tree, brantle::FileTree::root), fits) << budget;
        EXPECT_EQ(watch.watchCount(), fits ? 4u : budget) << budget;
    }
}

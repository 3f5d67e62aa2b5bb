#include "ModelEnvironment.hpp"

#include "AmbrelModel/Settings.hpp"

#include "BrantleServices/Locations.hpp"
#include "BrantleServices/TideHistory.hpp"

#include <QLocale>

#include <filesystem>
#include <thread>

using ambrel::AppModel;
using ambrel::ScanTarget;
using Phase = AppModel::Phase;
using Kind = ringkit::RingSegment::Kind;

namespace {

// big/ holds most bytes, then docs/, then one small file at the top.
void makeFixture(const TempFolder& root) {
    root.folder("big");
    root.folder("big/inner");
    root.file("big/inner/blob", 400'000);
    root.file("big/other", 100'000);
    root.folder("docs");
    root.file("docs/a.txt", 50'000);
    root.file("top.txt", 4'000);
}

std::vector<Phase> phasesOf(AppModel& model, const std::function<void()>& action) {
    std::vector<Phase> phases{model.phase()};
    const auto connection = QObject::connect(&model, &AppModel::phaseChanged, [&] {
        if (phases.back() != model.phase()) phases.push_back(model.phase());
    });
    action();
    settleReady(model);
    QObject::disconnect(connection);
    return phases;
}

// Counts the emissions of one signal.
struct SignalCount {
    template <typename Signal> SignalCount(AppModel* model, Signal signal) {
        QObject::connect(model, signal, [this] { ++value; });
    }
    int count() const { return value; }
    int value = 0;
};

} // namespace

TEST(AppModel, FirstLoadScansAndStoresTheItemCount) {
    TempFolder root;
    makeFixture(root);
    const auto target = ScanTarget::folder(root.path());

    AppModel model;
    std::optional<ScanTarget> scanning;
    QObject::connect(&model, &AppModel::phaseChanged, [&] {
        if (model.phase() == Phase::Scanning) scanning = model.target();
    });
    const auto phases = phasesOf(model, [&] { model.load(target, false); });
    EXPECT_EQ(scanning, target) << "the scan shows its target while it runs";
    EXPECT_EQ(phases, (std::vector{Phase::Idle, Phase::Updating, Phase::Scanning, Phase::Ready}));
    ASSERT_TRUE(model.tree());
    model.waitForBackgroundWork();
    EXPECT_TRUE(std::filesystem::exists(ambrel::snapshotPath(root.path())));
    EXPECT_EQ(ambrel::Settings::itemCount(root.path()),
              static_cast<std::int64_t>(model.tree()->count()));

    // The list is the focus's children, largest first; the root's label is the target's title.
    const auto items = model.listItems();
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(model.tree()->name(items[0]), "big");
    EXPECT_EQ(model.tree()->name(items[1]), "docs");
    EXPECT_EQ(model.tree()->name(items[2]), "top.txt");
    EXPECT_EQ(model.label(Kind::node(0)), QString::fromStdString(target.title()));
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_EQ(model.label(Kind::smaller(0, 1234)), "1,234 smaller items");

    // A folder target never shows the volume's hidden or purgeable space.
    for (const auto& segment : model.segments()) {
        EXPECT_NE(segment.kind.type, Kind::Type::hidden);
        EXPECT_NE(segment.kind.type, Kind::Type::purgeable);
    }
}

TEST(AppModel, NavigationAndBreadcrumbs) {
    TempFolder root;
    makeFixture(root);
    AppModel model;
    model.load(ScanTarget::folder(root.path()), false);
    ASSERT_TRUE(settleReady(model));
    const auto& tree = *model.tree();
    const auto big = *tree.node(root / "big");
    const auto inner = *tree.node(root / "big/inner");

    // At the root going up and focusing the focus change nothing, not even the layout.
    const int layout = model.layoutID();
    SignalCount focusSpy(&model, &AppModel::focusChanged);
    model.goUp();
    model.focusOn(0);
    EXPECT_EQ(model.layoutID(), layout);
    EXPECT_EQ(focusSpy.count(), 0);
    EXPECT_EQ(model.breadcrumbs(), std::vector<brantle::NodeId>{0});

    model.focusOn(static_cast<int>(inner));
    EXPECT_EQ(model.focus(), inner);
    EXPECT_EQ(model.layoutID(), layout + 1);
    EXPECT_EQ(model.breadcrumbs(), (std::vector<brantle::NodeId>{0, big, inner}));
    model.focusOn(static_cast<int>(inner));
    EXPECT_EQ(model.layoutID(), layout + 1);

    model.goUp();
    EXPECT_EQ(model.focus(), big);
    model.goUp();
    EXPECT_EQ(model.focus(), 0u);
    model.focusOn(-1);
    model.focusOn(1'000'000);
    EXPECT_EQ(model.focus(), 0u);
}

TEST(AppModel, FullnessBounds) {
    TempFolder root;
    makeFixture(root);
    root.file("big/inner/tiny", 1);
    AppModel model;
    EXPECT_EQ(model.fullness(), 0) << "no tree";
    model.load(ScanTarget::folder(root.path()), false);
    ASSERT_TRUE(settleReady(model));
    EXPECT_GT(model.fullness(), 0);
    EXPECT_LE(model.fullness(), 1);
    // An empty folder still shows a sliver.
    root.folder("empty");
    model.scanAgain();
    ASSERT_TRUE(settleReady(model));
    model.focusOn(static_cast<int>(*model.tree()->node(root / "empty")));
    EXPECT_DOUBLE_EQ(model.fullness(), 0.02);
}

TEST(AppModel, FocusIsKeptByPathAcrossRescansAndResetForANewTarget) {
    TempFolder root;
    makeFixture(root);
    TempFolder other;
    makeFixture(other);
    AppModel model;
    model.load(ScanTarget::folder(root.path()), false);
    ASSERT_TRUE(settleReady(model));
    model.focusOn(static_cast<int>(*model.tree()->node(root / "big/inner")));

    // New entries renumber the nodes; the focus follows the path.
    root.folder("aaa");
    root.file("aaa/x", 10'000);
    root.file("big/inner/newer", 10'000);
    model.scanAgain();
    EXPECT_FALSE(model.tree()) << "the ring empties while the scan runs";
    ASSERT_TRUE(settleReady(model));
    EXPECT_EQ(model.tree()->path(model.focus()), root / "big/inner");

    // The focused folder gone: back to the root.
    std::filesystem::remove_all(root / "big/inner");
    model.scanAgain();
    ASSERT_TRUE(settleReady(model));
    EXPECT_EQ(model.focus(), 0u);

    model.focusOn(static_cast<int>(*model.tree()->node(root / "docs")));
    model.chooseFolder(QString::fromStdString(other.path()));
    ASSERT_TRUE(settleReady(model));
    EXPECT_EQ(model.focus(), 0u);
    EXPECT_EQ(model.tree()->rootPath(), other.path());
}

TEST(AppModel, ASupersededScanNeverInstallsItsTree) {
    TempFolder first;
    makeFixture(first);
    TempFolder second;
    makeFixture(second);
    AppModel model;
    model.chooseFolder(QString::fromStdString(first.path()));
    model.chooseFolder(QString::fromStdString(second.path()));
    std::vector<std::string> installed; // previews of the second scan may come first
    QObject::connect(&model, &AppModel::revisionChanged,
                     [&] { installed.push_back(model.tree()->rootPath()); });
    ASSERT_TRUE(settleReady(model));
    model.waitForBackgroundWork();
    QCoreApplication::processEvents();
    EXPECT_FALSE(installed.empty());
    for (const auto& rootPath : installed)
        EXPECT_EQ(rootPath, second.path());
}

// Folders that could not be read are counted in the notice when a tree is installed; a
// standing warning is not pushed aside, an earlier count is.
TEST(AppModel, TheNoticeCountsFoldersThatCouldNotBeRead) {
    TempFolder root;
    const auto treeWith = [&](int unreadable) {
        auto tree = std::make_shared<brantle::FileTree>(root.path());
        for (int i = 0; i < unreadable; ++i)
            tree->append(brantle::FileTree::root, "f" + std::to_string(i), 0, 0, 0,
                         brantle::NodeFlags::directory | brantle::NodeFlags::unreadable);
        tree->append(brantle::FileTree::root, "file", 4096, 0, 0, brantle::NodeFlags::unreadable);
        tree->propagateSizes();
        return std::shared_ptr<const brantle::FileTree>(std::move(tree));
    };
    const struct {
        std::optional<ambrel::Notice> before;
        int unreadable;
        QString after;
    } cases[] = {
        {std::nullopt, 0, ""},
        {std::nullopt, 1, "1 folder could not be read; its contents are not counted."},
        {ambrel::Notice::make("Rescanning.", false), 1234,
         "1,234 folders could not be read; their contents are not counted."},
        {ambrel::Notice::make("Helper failed.", true), 2, "Helper failed."},
    };
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    for (const auto& c : cases) {
        AppModel model;
        model.setNotice(c.before);
        model.finish(treeWith(c.unreadable), ScanTarget::folder(root.path()));
        EXPECT_EQ(model.noticeText(), c.after) << c.unreadable;
    }
    AppModel model;
    model.finish(treeWith(3), ScanTarget::folder(root.path()));
    model.finish(treeWith(0), ScanTarget::folder(root.path()));
    EXPECT_EQ(model.noticeText(), "") << "a count no longer true leaves";
}

TEST(AppModelDeathTest, ChangesOffTheMainThreadAreFatal) {
    // Forked, not re-run: a re-run child would make a test home of its own and die before
    // removing it. Death tests run first, while the program has one thread.
    GTEST_FLAG_SET(death_test_style, "fast");
    EXPECT_DEATH(
        {
            AppModel model;
            std::thread([&] { model.goUp(); }).join();
        },
        "main thread");
}

TEST(AppModel, TheHistoryPaneRecordsTheDayWhenTheHomeTreeChanged) {
    const auto& home = ModelEnvironment::home();
    std::filesystem::create_directories(home / "Music");
    writeFile(home / "Music/song", std::string(11'000'000, 's')); // big enough to be listed
    const auto history = brantle::TideHistory::standard();
    const auto recordedDate = [&] {
        const auto summaries = history.load();
        return summaries.size() == 1 ? summaries.front().date : -1.0;
    };
    AppModel model;
    model.load(ScanTarget::home(), false);
    ASSERT_TRUE(settleReady(model));
    EXPECT_EQ(model.label(Kind::node(0)), "Home");
    model.waitForBackgroundWork();
    EXPECT_TRUE(history.load().empty()) << "a launch alone records nothing";

    model.show(AppModel::Section::History);
    ASSERT_TRUE(settle(model, [&] { return !model.history().empty(); }));
    ASSERT_TRUE(model.startupVolume());
    EXPECT_EQ(history.load().front().volumeTotal, model.startupVolume()->total);
    const double first = recordedDate();
    ASSERT_GT(first, 0);

    // Asked again for the same tree: today's record stays.
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    model.show(AppModel::Section::Explorer);
    model.show(AppModel::Section::History);
    model.recordHistory();
    model.waitForBackgroundWork();
    EXPECT_EQ(recordedDate(), first);

    // A folder grew while the pane is shown: the day's record is written anew.
    writeFile(home / "Music/more", std::string(1'000'000, 'm'));
    model.scanAgain();
    ASSERT_TRUE(settleReady(model));
    model.waitForBackgroundWork();
    QCoreApplication::processEvents();
    EXPECT_GT(recordedDate(), first);
    EXPECT_EQ(model.history().size(), 1u);

    // A folder that does not cover the home folder records nothing.
    const double second = recordedDate();
    TempFolder elsewhere;
    makeFixture(elsewhere);
    model.chooseFolder(QString::fromStdString(elsewhere.path()));
    ASSERT_TRUE(settleReady(model));
    model.waitForBackgroundWork();
    EXPECT_EQ(recordedDate(), second);
    std::filesystem::remove_all(home / "Music");
}

TEST(ScanTarget, RootPathsTitlesAndSnapshotFiles) {
    const auto snapshots = brantle::Locations::dataDirectory() + "/Snapshots/";
    EXPECT_EQ(ambrel::snapshotPath("/"), snapshots + "_root.brs");
    EXPECT_EQ(ambrel::snapshotPath("/home/ann/My Files"), snapshots + "_home_ann_My Files.brs");
}

// Launches that find a stored snapshot, Full Disk Access changes and the suggestions' life
// cycle, on real folders in the test home.
#include "ModelEnvironment.hpp"

#include "AmbrelModel/Settings.hpp"

#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/ScanOptions.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <cerrno>
#include <filesystem>

using ambrel::AppModel;
using ambrel::ScanTarget;
using Phase = AppModel::Phase;

namespace {

void makeFixture(const TempFolder& root) {
    root.folder("big");
    root.file("big/blob", 400'000);
    root.folder("docs");
    root.file("docs/a.txt", 50'000);
    root.file("top.txt", 4'000);
}

std::vector<Phase> phasesOfLoad(AppModel& model, const ScanTarget& target, bool quiet = false) {
    std::vector<Phase> phases{model.phase()};
    const auto connection = QObject::connect(&model, &AppModel::phaseChanged, [&] {
        if (phases.back() != model.phase()) phases.push_back(model.phase());
    });
    model.load(target, quiet);
    settle(model, [&] { return model.phase() == Phase::Ready && model.tree(); });
    model.waitForBackgroundWork(); // the snapshot save after the tree is shown
    QObject::disconnect(connection);
    return phases;
}

brantle::FileTree scanned(const std::string& path) {
    brantle::DiskScanner scanner(brantle::ScanOptions::forVolume(path), 2,
                                 std::chrono::milliseconds(100));
    return scanner.scan(path);
}

const std::vector<Phase> scannedPhases{Phase::Idle, Phase::Updating, Phase::Scanning, Phase::Ready};
const std::vector<Phase> caughtUpPhases{Phase::Idle, Phase::Updating, Phase::Ready};

} // namespace

TEST(AppModelSessions, ALaunchWithAStoredSnapshotCatchesUpWithoutAFullScan) {
    TempFolder root;
    makeFixture(root);
    const auto target = ScanTarget::folder(root.path());
    const auto stored = ambrel::snapshotPath(root.path());
    {
        AppModel first;
        EXPECT_EQ(phasesOfLoad(first, target), scannedPhases);
    }
    const auto saved = brantle::Snapshot::load(stored);
    ASSERT_TRUE(saved) << "the first scan stores its tree";

    {
        // The stored tree shows while it is brought up to date, then the caught-up one.
        AppModel second;
        std::vector<Phase> installedIn;
        QObject::connect(&second, &AppModel::revisionChanged,
                         [&] { installedIn.push_back(second.phase()); });
        EXPECT_EQ(phasesOfLoad(second, target), caughtUpPhases);
        EXPECT_EQ(installedIn, (std::vector{Phase::Updating, Phase::Ready}));
        EXPECT_EQ(second.tree()->count(), saved->tree.count());
    }

    // Changed on disk between two launches: the next one shows the changes.
    root.file("docs/new.bin", 30'000);
    std::filesystem::remove(root / "top.txt");
    AppModel third;
    EXPECT_EQ(phasesOfLoad(third, target), caughtUpPhases);
    const auto& tree = *third.tree();
    EXPECT_TRUE(tree.node(root / "docs/new.bin"));
    EXPECT_FALSE(tree.node(root / "top.txt"));
    EXPECT_EQ(tree.size(0), scanned(root.path()).size(0));
    const auto resaved = brantle::Snapshot::load(stored);
    ASSERT_TRUE(resaved);
    EXPECT_TRUE(resaved->tree.node(root / "docs/new.bin")) << "a caught-up tree is stored again";
}

TEST(AppModelSessions, AnUnusableSnapshotMeansAFullScanOrNothingWhenQuiet) {
    TempFolder root;
    makeFixture(root);
    TempFolder other;
    makeFixture(other);
    const auto target = ScanTarget::folder(root.path());
    const auto stored = ambrel::snapshotPath(root.path());
    const auto otherTree = scanned(other.path());

    for (const std::string kind : {"another root", "garbage", "missing"}) {
        SCOPED_TRACE(kind);
        std::filesystem::remove(stored);
        if (kind == "another root") {
            ASSERT_TRUE(brantle::Snapshot::save(otherTree, {other.path(), 0, 0}, stored));
        }
        if (kind == "garbage") writeFile(stored, "BRS1 but nothing after it");

        AppModel model;
        EXPECT_EQ(phasesOfLoad(model, target), scannedPhases);
        EXPECT_EQ(model.tree()->rootPath(), root.path());
        EXPECT_FALSE(model.tree()->node(root / "missing"));
    }

    // A quiet load of a target without a snapshot leaves the shown tree alone.
    TempFolder unstored;
    makeFixture(unstored);
    AppModel model;
    phasesOfLoad(model, target);
    const auto shown = model.tree();
    const int revision = model.revision();
    model.load(ScanTarget::folder(unstored.path()), true);
    settle(model, [] { return false; });
    EXPECT_EQ(model.phase(), Phase::Ready);
    EXPECT_EQ(model.tree(), shown);
    EXPECT_EQ(model.revision(), revision);
}

TEST(AppModelSessions, GrantedFullDiskAccessRescansWithANotice) {
    TempFolder root;
    makeFixture(root);
    AppModel model;
    int refusal = EACCES;
    model.setAccessProbeOpen([&](const std::string&) { return refusal; });
    model.refreshFullDiskAccess();
    EXPECT_FALSE(model.hasFullDiskAccess());
    EXPECT_FALSE(model.notice()) << "losing access says nothing";
    phasesOfLoad(model, ScanTarget::folder(root.path()));
    const int revision = model.revision();

    refusal = 0;
    model.refreshFullDiskAccess();
    EXPECT_TRUE(model.hasFullDiskAccess());
    EXPECT_EQ(model.noticeText(),
              "Full Disk Access is on. Rescanning to include the folders that were hidden.");
    EXPECT_FALSE(model.noticeIsWarning());
    ASSERT_TRUE(settleReady(model));
    EXPECT_EQ(model.revision(), revision + 1);

    const auto notice = model.notice();
    model.refreshFullDiskAccess();
    EXPECT_EQ(model.notice(), notice) << "no change, no new notice";
    EXPECT_EQ(model.phase(), Phase::Ready);
}

TEST(AppModelSessions, SuggestionsRunForTheirPaneTickSafeFindingsAndDropOlderTrees) {
    const auto& home = ModelEnvironment::home();
    const auto cache = home / ".cache/sometool";
    std::filesystem::create_directories(cache);
    writeFile(cache + "/blob", std::string(2'000'000, 'c'));
    auto withCache = std::make_shared<brantle::FileTree>(scanned(home.path()));
    std::filesystem::remove_all(cache);
    auto withoutCache = std::make_shared<brantle::FileTree>(scanned(home.path()));
    using ShorelinePhase = AppModel::ShorelinePhase;

    AppModel model;
    model.finish(withCache, ScanTarget::home());
    EXPECT_EQ(model.shorelinePhase(), ShorelinePhase::Idle) << "no pane asked for them";
    model.show(AppModel::Section::Shoreline);
    EXPECT_EQ(model.shorelinePhase(), ShorelinePhase::Analyzing);
    settle(model, [&] { return model.shorelinePhase() == ShorelinePhase::Ready; });
    EXPECT_TRUE(model.shorelineChecked().contains(QString::fromStdString(cache)));

    // The first tree's analysis ends after a newer tree was installed: only the newer one's
    // result may land.
    AppModel shown;
    shown.show(AppModel::Section::Shoreline);
    shown.finish(withCache, ScanTarget::home());
    shown.waitForBackgroundWork();
    shown.finish(withoutCache, ScanTarget::home());
    std::vector<QSet<QString>> landed;
    QObject::connect(&shown, &AppModel::shorelineCheckedChanged,
                     [&] { landed.push_back(shown.shorelineChecked()); });
    settle(shown, [&] { return shown.shorelinePhase() == ShorelinePhase::Ready; });
    shown.waitForBackgroundWork();
    QCoreApplication::processEvents();
    ASSERT_EQ(landed.size(), 1u);
    EXPECT_FALSE(landed.front().contains(QString::fromStdString(cache)));
}

TEST(AppModelSessions, TheNextLaunchShowsTheLastTarget) {
    auto folder = std::make_unique<TempFolder>();
    makeFixture(*folder);
    const auto path = folder->path();
    {
        AppModel model;
        model.chooseFolder(QString::fromStdString(path));
        ASSERT_TRUE(settleReady(model));
    }
    {
        AppModel model;
        model.start();
        ASSERT_TRUE(settleReady(model));
        EXPECT_EQ(model.target(), ScanTarget::folder(path));
        model.showHome();
        ASSERT_TRUE(settleReady(model));
    }
    {
        AppModel model;
        model.start();
        ASSERT_TRUE(settleReady(model));
        EXPECT_EQ(model.target(), ScanTarget::home());
        model.chooseFolder(QString::fromStdString(path));
        ASSERT_TRUE(settleReady(model));
    }
    folder.reset();
    EXPECT_EQ(ambrel::Settings::lastTarget(), ScanTarget::startupDisk())
        << "a folder that is gone is not shown again";
}

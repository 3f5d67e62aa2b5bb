#include "ModelEnvironment.hpp"

#include "AmbrelModel/OpenedScan.hpp"
#include "BrantleCore/Snapshot.hpp"

using ambrel::AppModel;
using ambrel::ScanTarget;

TEST(OpenScan, ShowsASavedScanReadOnlyAndKeepsTheViewOnADamagedFile) {
    TempFolder scanned;
    scanned.folder("big");
    scanned.file("big/blob", 300'000);
    scanned.file("top.txt", 5'000);
    TempFolder files;
    AppModel model;
    model.load(ScanTarget::folder(scanned.path()), false);
    ASSERT_TRUE(settleReady(model));
    const auto original = model.tree();
    const auto snapshot = files / "server.brs";
    const auto encoded = brantle::Snapshot::encode(*original, {original->rootPath(), 1.7e9, 0});
    const std::string bytes(encoded.begin(), encoded.end());
    writeFile(snapshot, bytes);

    model.openScan(QString::fromStdString(snapshot));
    ASSERT_TRUE(settle(model, [&] { return model.readOnly(); }));
    const auto& opened = *model.tree();
    EXPECT_EQ(opened.size(brantle::FileTree::root), original->size(brantle::FileTree::root));
    EXPECT_EQ(opened.count(), original->count());
    EXPECT_TRUE(
        model.targetTitle().startsWith(QString::fromStdString(scanned.path()) + " · scanned "));

    // Staging is refused in the model, by node and by path, with the reason.
    model.toggleStaged(static_cast<int>(*opened.node(scanned / "big")));
    model.stage(QString::fromStdString(scanned / "top.txt"));
    model.sendCheckedToLowTide();
    EXPECT_TRUE(model.cleanupList().items().empty());
    EXPECT_EQ(model.noticeText(), ambrel::OpenedScan::readOnlyReason());

    // Damaged, foreign or missing files warn and leave the opened scan shown.
    writeFile(files / "cut.brs", bytes.substr(0, bytes.size() / 2));
    writeFile(files / "bad.json", "[1,0,{\"progname\":\"ncdu\"},[{\"name\":");
    writeFile(files / "notes.txt", "hello");
    const auto shown = model.tree();
    for (const auto* name : {"cut.brs", "bad.json", "notes.txt", "missing.brs"}) {
        model.setNotice(std::nullopt);
        model.openScan(QString::fromStdString(files / name));
        ASSERT_TRUE(settle(model, [&] { return model.noticeIsWarning(); })) << name;
        EXPECT_TRUE(model.noticeText().contains(name)) << model.noticeText().toStdString();
        EXPECT_EQ(model.tree(), shown) << name;
        EXPECT_TRUE(model.readOnly()) << name;
    }
    model.scanAgain(); // nothing here to scan again
    EXPECT_TRUE(model.readOnly());
    EXPECT_EQ(model.phase(), AppModel::Phase::Ready);

    // ncdu exports open too; choosing a folder of this computer ends read-only mode.
    // Big enough that the folder's scan starts while the file is still being read.
    std::string nas = R"([1,0,{"progname":"ncdu","progver":"1.19","timestamp":1700000000},
        [{"name":"/srv"})";
    for (int file = 0; file < 50'000; ++file)
        nas += R"(,{"name":"f)" + std::to_string(file) + R"(","asize":10,"dsize":4096})";
    writeFile(files / "nas.json", nas + "]]");
    // Opened while a folder of this computer is still loading: the file wins over that scan.
    TempFolder unscanned;
    model.load(ScanTarget::folder(unscanned.path()), false);
    model.openScan(QString::fromStdString(files / "nas.json"));
    ASSERT_TRUE(settle(model, [&] { return model.tree() && model.tree()->rootPath() == "/srv"; }));
    model.waitForBackgroundWork();
    QCoreApplication::processEvents();
    EXPECT_EQ(model.tree()->rootPath(), "/srv");
    EXPECT_EQ(model.tree()->size(brantle::FileTree::root), 50'000u * 4096);
    EXPECT_EQ(model.phase(), AppModel::Phase::Ready);
    EXPECT_TRUE(model.targetTitle().startsWith("/srv · scanned "));
    model.chooseFolder(QString::fromStdString(scanned.path()));
    ASSERT_TRUE(settleReady(model));
    EXPECT_FALSE(model.readOnly());
    EXPECT_EQ(model.tree()->rootPath(), scanned.path());
    model.stage(QString::fromStdString(scanned / "top.txt"));
    EXPECT_EQ(model.cleanupList().items().size(), 1u);
}

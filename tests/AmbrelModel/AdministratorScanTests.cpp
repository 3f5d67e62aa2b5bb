// The administrator scan of the model with the real helper over pipes: the tree arrives and
// is stored as its root's snapshot; a helper that is missing or refuses says why, and the
// model shows the regular scan with that reason; a helper that stalls is given up, not
// waited for.
#include "ModelEnvironment.hpp"

#include "AmbrelModel/AdministratorScan.hpp"
#include "AmbrelModel/StoredSnapshot.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "support/TreeDump.hpp"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>

using namespace ambrel;

namespace {

struct Outcome {
    std::shared_ptr<const brantle::FileTree> tree;
    std::optional<QString> unavailable;
    std::optional<QString> stopped;
    bool progressed = false;

    bool done() const { return tree || unavailable || stopped; }
};

Outcome scanThrough(const std::string& program, const std::string& path) {
    AdministratorScan scan({program, {}, false});
    Outcome outcome;
    QObject::connect(&scan, &AdministratorScan::finished,
                     [&](std::shared_ptr<const brantle::FileTree> tree) { outcome.tree = tree; });
    QObject::connect(&scan, &AdministratorScan::unavailable,
                     [&](bool, const QString& message) { outcome.unavailable = message; });
    QObject::connect(&scan, &AdministratorScan::stopped,
                     [&](const QString& text) { outcome.stopped = text; });
    QObject::connect(&scan, &AdministratorScan::progressed,
                     [&](const brantle::ScanProgress&) { outcome.progressed = true; });
    scan.start(path);
    for (int round = 0; round < 3000 && !outcome.done(); ++round) {
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return outcome;
}

} // namespace

TEST(AdministratorScan, InstallsAndStoresTheHelpersTreeOrSaysWhyNot) {
    TempFolder work;
    work.folder("docs");
    work.file("docs/a", 5000);
    work.file("b", 300);

    const Outcome scanned = scanThrough(AMBREL_HELPER, work.path());
    ASSERT_TRUE(scanned.tree) << scanned.stopped.value_or("").toStdString()
                              << scanned.unavailable.value_or("").toStdString();
    brantle::DiskScanner scanner(brantle::ScanOptions::forVolume(work.path()), 1);
    const std::string direct = treeDump(scanner.scan(work.path()));
    EXPECT_EQ(treeDump(*scanned.tree), direct);
    const auto stored = StoredSnapshot::load(work.path());
    ASSERT_TRUE(stored.has_value());
    EXPECT_EQ(treeDump(stored->tree), direct);
    EXPECT_TRUE(scanThrough(AMBREL_HELPER, work / "missing").stopped) << "a refusal stops it";
}

TEST(AdministratorScan, TheModelFallsBackToTheRegularScanWithItsNotice) {
    TempFolder work;
    AppModel model;
    model.setHelperLaunch({work / "no-helper", {}, false});
    model.scanAsAdministrator();
    settle(model, [&] { return model.notice().has_value(); });
    ASSERT_TRUE(model.notice().has_value());
    EXPECT_EQ(model.notice()->text.toStdString(),
              "Administrator scan isn't available (the helper isn't installed at " +
                  (work / "no-helper") + "). Showing your regular scan.");
    EXPECT_TRUE(model.notice()->isWarning);
    EXPECT_FALSE(model.adminScan());
    EXPECT_EQ(model.target(), ScanTarget::startupDisk()) << "the regular scan of the same disk";
}

TEST(AdministratorScan, AnotherScanGivesUpAStalledHelperWithoutWaitingForIt) {
    // The helper stalls as pkexec does while its password dialog is open; left alone, it
    // would end after 20 s and leave `ended` behind.
    TempFolder work;
    work.folder("tree");
    work.file("tree/a", 5000);
    ASSERT_EQ(::mkfifo((work / "never").c_str(), 0600), 0);
    const std::string helper = work / "stalled-helper";
    writeFile(helper, "#!/bin/bash\necho $$ > '" + (work / "pid") + "'\nread -t 20 <> '" +
                          (work / "never") + "'\ntouch '" + (work / "ended") + "'\n");
    std::filesystem::permissions(helper, std::filesystem::perms::owner_all);

    AppModel model;
    model.setHelperLaunch({helper, {}, false});
    model.scanAsAdministrator();
    const auto eventually = [&](const std::function<bool()>& done) {
        for (int round = 0; round < 1000 && !done(); ++round) {
            QCoreApplication::processEvents();
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return done();
    };
    ASSERT_TRUE(eventually([&] { return !fileText(work / "pid").empty(); }));
    const pid_t pid = std::stoi(fileText(work / "pid"));

    model.chooseFolder(QString::fromStdString(work / "tree"));
    ASSERT_TRUE(settleReady(model));
    // The helper was stopped and reaped, not waited out.
    EXPECT_TRUE(eventually([&] { return ::kill(pid, 0) != 0 && errno == ESRCH; }));
    EXPECT_FALSE(std::filesystem::exists(work / "ended"));
    // Nothing of the abandoned scan reaches the model.
    QCoreApplication::processEvents();
    EXPECT_FALSE(model.notice().has_value());
    EXPECT_EQ(model.target(), ScanTarget::folder(work / "tree"));
}

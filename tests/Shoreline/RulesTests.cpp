#include "Shoreline/RuleText.hpp"
#include "Shoreline/Rules.hpp"
#include "Shoreline/TaggedCaches.hpp"
#include "Shoreline/UserFiles.hpp"
#include "TestHome.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QLocale>

using namespace shoreline;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using P = TestHome::Proposal;

namespace {

const std::string appCache = "Cache — the app rebuilds it when it needs it.";

TEST(AppCachesRule, LinuxCachesAndFlatpakContainers) {
    TestHome home(System::linux);
    home.file(".cache/big/a", MiB);
    home.file(".cache/small/a", MiB - 16 * 4096);
    home.file(".cache/thumbnails/normal/a", 2 * MiB);
    home.file(".cache/pip/http/a", 20 * MiB);
    home.file(".cache/JetBrains/a", MiB);
    home.file(".cache/running-app/a", 2 * MiB);
    home.file(".var/app/org.gimp.GIMP/cache/a", 5 * MiB);
    home.file(".var/app/org.small.App/cache/a", 5 * MiB - 16 * 4096);
    home.file(".var/app/org.running.App/cache/a", 8 * MiB);
    home.file(".var/app/org.nocache.App/data/a", 8 * MiB);
    home.file("Library/Caches/com.example/a", 2 * MiB);
    auto context = home.context();
    context.runningBundleIDs = {"running-app", "org.running.App"};

    const auto proposals = home.proposals(AppCachesRule(), context);
    EXPECT_THAT(proposals,
                UnorderedElementsAre(
                    P{".cache/big", Safety::safe, appCache},
                    P{".cache/JetBrains", Safety::safe, appCache},
                    P{".cache/thumbnails", Safety::review,
                      "System cache — safe to clear, but it often rebuilds straight away."},
                    P{".var/app/org.gimp.GIMP/cache", Safety::safe,
                      "Cache for org.gimp.GIMP — rebuilt when needed."}));
    ASSERT_EQ(proposals.size(), 4u);
    EXPECT_EQ(proposals.back().path, ".var/app/org.gimp.GIMP/cache"); // containers come second
}

// Tagged folders anywhere are caches: the outer one of nested tags, only with the exact
// signature, never a package manager's own cache.
TEST(AppCachesRule, FoldersTaggedAsCaches) {
    const std::string tag = std::string(TaggedCaches::signature) + "\n# made by a build tool\n";
    TestHome home(System::linux);
    const struct {
        std::string folder;
        std::string tagText;
    } tagged[] = {
        {"code/app/target", tag},
        {"code/app/target/debug", tag},
        {"code/lib/build", std::string(TaggedCaches::signature).substr(0, 42)},
        {"code/other/out", "Signature: 0000000000000000000000000000000"},
        {".cache/pip/wheels", tag},
    };
    for (const auto& entry : tagged) {
        home.file(entry.folder + "/CACHEDIR.TAG", entry.tagText);
        home.file(entry.folder + "/blob", 2 * MiB);
    }
    home.file("code/small/cache/CACHEDIR.TAG", tag);
    EXPECT_THAT(home.proposals(AppCachesRule(), home.context()),
                ElementsAre(P{"code/app/target", Safety::safe,
                              "Tagged as a cache by the program that made it — made again "
                              "when needed."}));
}

TEST(AppCachesRule, MacCachesAndSandboxContainers) {
    TestHome home(System::macOS);
    home.file("Library/Caches/com.example.app/a", MiB);
    home.file("Library/Caches/com.apple.Safari/a", 2 * MiB);
    home.file("Library/Caches/com.example.running/a", 2 * MiB);
    home.file("Library/Containers/com.example.sandboxed/Data/Library/Caches/a", 5 * MiB);
    home.file("Library/Containers/com.apple.news/Data/Library/Caches/a", 6 * MiB);
    home.file("Library/Containers/com.example.running/Data/Library/Caches/a", 6 * MiB);
    home.file(".cache/linux-only/a", 2 * MiB);
    auto context = home.context();
    context.runningBundleIDs = {"com.example.running"};

    EXPECT_THAT(
        home.proposals(AppCachesRule(), context),
        UnorderedElementsAre(
            P{"Library/Caches/com.example.app", Safety::safe, appCache},
            P{"Library/Caches/com.apple.Safari", Safety::review,
              "macOS cache — safe to clear, but macOS often rebuilds it straight away."},
            P{"Library/Containers/com.example.sandboxed/Data/Library/Caches", Safety::safe,
              "Cache for com.example.sandboxed — rebuilt when needed."},
            P{"Library/Containers/com.apple.news/Data/Library/Caches", Safety::review,
              "Cache for a macOS service — safe to clear, but it often rebuilds straight away."}));
}

TEST(LogsRule, LogFoldersOfEachSystem) {
    const std::string reason = "Log files — apps start new ones as needed.";
    TestHome linux(System::linux);
    linux.file(".local/state/app/log/a", MiB);
    linux.file(".local/state/other/logs/a", 2 * MiB);
    linux.file(".local/state/tiny/log/a", MiB - 16 * 4096);
    linux.file(".local/state/app/history/a", 2 * MiB);
    linux.file(".local/state/log/a", 2 * MiB); // not inside an app's folder
    linux.file(".xsession-errors", MiB);
    linux.file("Library/Logs/Old/a", 2 * MiB);
    EXPECT_THAT(linux.proposals(LogsRule(), linux.context()),
                UnorderedElementsAre(P{".local/state/app/log", Safety::safe, reason},
                                     P{".local/state/other/logs", Safety::safe, reason},
                                     P{".xsession-errors", Safety::safe, reason}));

    TestHome mac(System::macOS);
    mac.file("Library/Logs/DiagnosticReports/a", MiB);
    mac.file("Library/Logs/Small/a", MiB - 16 * 4096);
    mac.file(".xsession-errors", 2 * MiB);
    EXPECT_THAT(mac.proposals(LogsRule(), mac.context()),
                ElementsAre(P{"Library/Logs/DiagnosticReports", Safety::safe, reason}));
}

TEST(XcodeRule, BuildProductsOldSymbolsOldArchivesAndSimulatorCache) {
    for (const System system : {System::macOS, System::linux}) {
        TestHome home(system);
        home.file("Library/Developer/Xcode/DerivedData/App-abc/a", MiB);
        home.file("Library/Developer/Xcode/DerivedData/Tiny-abc/a", MiB - 16 * 4096);
        home.file("Library/Developer/Xcode/iOS DeviceSupport/17.0/a");
        home.ageAll("Library/Developer/Xcode/iOS DeviceSupport/17.0", 90);
        home.file("Library/Developer/Xcode/iOS DeviceSupport/17.4/a");
        home.ageAll("Library/Developer/Xcode/iOS DeviceSupport/17.4", 89);
        home.file("Library/Developer/Xcode/watchOS DeviceSupport/10.0/a");
        home.ageAll("Library/Developer/Xcode/watchOS DeviceSupport/10.0", 400);
        home.file("Library/Developer/Xcode/Archives/2023-01-02/App.xcarchive/a");
        home.ageAll("Library/Developer/Xcode/Archives/2023-01-02/App.xcarchive", 180);
        home.file("Library/Developer/Xcode/Archives/2023-01-03/New.xcarchive/a");
        home.ageAll("Library/Developer/Xcode/Archives/2023-01-03/New.xcarchive", 179);
        home.file("Library/Developer/CoreSimulator/Caches/a", MiB);
        const auto proposals = home.proposals(XcodeRule(), home.context());
        if (system == System::linux) {
            EXPECT_THAT(proposals, IsEmpty());
            continue;
        }
        EXPECT_THAT(
            proposals,
            ElementsAre(
                P{"Library/Developer/Xcode/DerivedData/App-abc", Safety::safe,
                  "Build products — Xcode rebuilds them on the next build."},
                P{"Library/Developer/Xcode/iOS DeviceSupport/17.0", Safety::review,
                  "Debug symbols last used 90 days ago — re-downloaded when that device "
                  "connects."},
                P{"Library/Developer/Xcode/watchOS DeviceSupport/10.0", Safety::review,
                  "Debug symbols last used 400 days ago — re-downloaded when that device "
                  "connects."},
                P{"Library/Developer/Xcode/Archives/2023-01-02/App.xcarchive", Safety::review,
                  "App archive from 180 days ago — keep it if you still symbolicate crashes "
                  "from that release."},
                P{"Library/Developer/CoreSimulator/Caches", Safety::safe,
                  "Simulator cache — rebuilt automatically."}));
    }
}

TEST(PackageCachesRule, TablesInOrderFromTenMiB) {
    const auto quick = [](const std::string& label) {
        return label + " download cache — refetched when needed.";
    };
    TestHome linux(System::linux);
    linux.file(".npm/_cacache/a", 10 * MiB);
    linux.file(".cache/yarn/a", 10 * MiB - 16 * 4096);
    linux.file(".local/share/pnpm/store/a", 10 * MiB);
    linux.file("Library/pnpm/store/a", 10 * MiB);
    linux.file("go/pkg/mod/a", 12 * MiB);
    linux.file(".cache/huggingface/hub/a", 30 * MiB);
    EXPECT_THAT(linux.proposals(PackageCachesRule(), linux.context()),
                ElementsAre(P{".npm/_cacache", Safety::safe, quick("npm")},
                            P{".local/share/pnpm/store", Safety::safe, quick("pnpm")},
                            P{"go/pkg/mod", Safety::review,
                              "Go modules cache — refetched when needed, which can take a while."},
                            P{".cache/huggingface", Safety::review,
                              "Hugging Face models cache — refetched when needed, which can "
                              "take a while."}));

    TestHome mac(System::macOS);
    mac.file("Library/pnpm/store/a", 10 * MiB);
    mac.file(".local/share/pnpm/store/a", 10 * MiB);
    mac.file(".gradle/caches/a", 11 * MiB);
    EXPECT_THAT(mac.proposals(PackageCachesRule(), mac.context()),
                ElementsAre(P{".gradle/caches", Safety::safe, quick("Gradle")},
                            P{"Library/pnpm/store", Safety::safe, quick("pnpm")}));
}

TEST(ProjectDependenciesRule, IdleProjectsOnly) {
    TestHome home;
    const auto project = [&](const std::string& folder, const std::string& dependencies,
                             const std::string& sibling, std::uint64_t bytes, int idleDays) {
        home.file(folder + "/" + dependencies + "/lib/a", bytes);
        home.file(folder + "/src/main", 4096);
        if (!sibling.empty()) home.file(folder + "/" + sibling, 4096);
        home.ageAll(folder, 40);
        home.age(folder + "/src/main", idleDays);
        home.age(folder + "/" + dependencies + "/lib/a", 0); // its own changes do not count
    };
    project("code/web", "node_modules", "", 10 * MiB, 40);
    project("code/fresh", "node_modules", "", 10 * MiB, 29);
    project("code/tiny", "node_modules", "", 10 * MiB - 16 * 4096, 40);
    project("code/rust", "target", "", 20 * MiB, 40);
    project("code/rust2", "target", "Cargo.toml", 20 * MiB, 40);
    project("code/ios", "Pods", "Podfile", 20 * MiB, 60);
    project("code/py", ".venv", "", 20 * MiB, 31);
    project("a/b/c/d/e/f/seven", "node_modules", "", 10 * MiB, 40);
    project("a/b/c/d/e/f/g/eight", "node_modules", "", 10 * MiB, 40);
    project("Library/app", "node_modules", "", 10 * MiB, 40);
    project(".hidden/app", "node_modules", "", 10 * MiB, 40);
    // A nested dependency folder is part of its parent and never proposed on its own.
    home.file("code/web/node_modules/pkg/node_modules/x/a", 12 * MiB, 100);

    const auto reason = [](const std::string& name, int days, const std::string& command) {
        return name + " untouched for " + std::to_string(days) + " days — " + command +
               " brings it back.";
    };
    EXPECT_THAT(
        home.proposals(ProjectDependenciesRule(), home.context()),
        UnorderedElementsAre(
            P{"code/web/node_modules", Safety::safe, reason("web", 40, "npm install")},
            P{"code/rust2/target", Safety::safe, reason("rust2", 40, "cargo build")},
            P{"code/ios/Pods", Safety::safe, reason("ios", 40, "pod install")},
            P{"code/py/.venv", Safety::review,
              reason("py", 31, "recreate the virtual environment")},
            P{"a/b/c/d/e/f/seven/node_modules", Safety::safe, reason("seven", 40, "npm install")}));
}

TEST(InstallersRule, InstallerExtensionsFromFourteenDays) {
    struct Row {
        std::string name;
        int days;
        bool onLinux, onMac; // proposed there
    };
    const std::vector<Row> rows{{"old.dmg", 14, true, true},   {"new.PKG", 13, false, false},
                                {"app.deb", 20, true, false},  {"tool.AppImage", 15, true, false},
                                {".dmg", 30, false, false},    {"notes.txt", 100, false, false},
                                {"Setup.iso", 365, true, true}};
    for (const System system : {System::linux, System::macOS}) {
        SCOPED_TRACE(system == System::linux ? "linux" : "macOS");
        TestHome home(system);
        std::vector<P> expected;
        for (const auto& row : rows) {
            home.file("Downloads/" + row.name, 4096, row.days);
            if (system == System::linux ? row.onLinux : row.onMac)
                expected.push_back({"Downloads/" + row.name, Safety::review,
                                    "Installer downloaded " + std::to_string(row.days) +
                                        " days ago — the app is probably installed by now."});
        }
        EXPECT_THAT(home.proposals(InstallersRule(), home.context()),
                    testing::UnorderedElementsAreArray(expected));
    }
}

TEST(OldDownloadsRule, UntouchedAndUnopenedForNinetyDays) {
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    TestHome home;
    home.file("Downloads/movie.mkv", MiB, 90);
    home.file("Downloads/recent.mkv", MiB, 89);
    home.file("Downloads/small.bin", MiB - 4096, 200);
    home.file("Downloads/opened.pdf", 2 * MiB, 400);
    home.file("Downloads/used.zip", 2 * MiB, 200);
    home.file("Downloads/album/track", 3 * MiB);
    home.ageAll("Downloads/album", 120);
    home.file("Downloads/ancient.tar", 2 * MiB, 1200);
    auto context = home.context();
    const std::string downloads = home / "Downloads/";
    const std::int64_t now = context.now;
    context.lastUsed = [=](const std::string& path) -> std::optional<std::int64_t> {
        if (path == downloads + "opened.pdf") return now - 10 * day;
        if (path == downloads + "used.zip") return now - 95 * day - 60;
        return std::nullopt;
    };
    EXPECT_THAT(home.proposals(OldDownloadsRule(), context),
                UnorderedElementsAre(
                    P{"Downloads/movie.mkv", Safety::review, "Not opened in 90 days."},
                    P{"Downloads/used.zip", Safety::review, "Not opened in 95 days."},
                    P{"Downloads/album", Safety::review, "Not opened in 120 days."},
                    P{"Downloads/ancient.tar", Safety::review, "Not opened in 1,200 days."}));
    QLocale::setDefault(QLocale::system());
}

TEST(LargeOldFilesRule, OwnBigFilesUntouchedForHalfAYear) {
    TestHome home(System::macOS);
    home.file("Documents/big.iso", 2 * MiB, 180);
    home.file("Documents/newer.iso", 2 * MiB, 179);
    home.file("Documents/small.iso", 2 * MiB - 4096, 400);
    home.file("Movies/opened.mov", 3 * MiB, 730);
    home.file("Music/Music/Media/song.m4a", 3 * MiB, 400);
    home.file("Library/old.bin", 3 * MiB, 400);
    home.file(".local/old.bin", 3 * MiB, 400);
    home.file("code/web/node_modules/big.bin", 3 * MiB, 400);
    home.file("Pictures/Album.photoslibrary/originals/raw", 3 * MiB, 400);
    home.file("Documents/deep/er/archive.zip", 4 * MiB, 365);
    ASSERT_EQ(::symlink((home / "Documents/big.iso").c_str(), (home / "Documents/link").c_str()),
              0);
    auto context = home.context();
    context.largeFileMinBytes = 2 * MiB;
    const std::string opened = home / "Movies/opened.mov";
    const std::int64_t now = context.now;
    context.lastUsed = [=](const std::string& path) -> std::optional<std::int64_t> {
        if (path == opened) return now - day;
        return std::nullopt;
    };
    EXPECT_THAT(
        home.proposals(LargeOldFilesRule(), context),
        UnorderedElementsAre(
            P{"Documents/big.iso", Safety::caution, "Not opened in 180 days."},
            P{"Documents/deep/er/archive.zip", Safety::caution, "Not opened in 365 days."}));
}

TEST(UserFiles, HardLinkedFilesCountOnce) {
    TestHome home;
    home.file("Documents/a.bin", 2 * MiB);
    home.folder("Videos");
    ASSERT_EQ(::link((home / "Documents/a.bin").c_str(), (home / "Videos/b.bin").c_str()), 0);
    const auto context = home.context();
    EXPECT_EQ(UserFiles::walk(context, MiB).size(), 1u);
}

TEST(DeviceBackupsRule, BackupsOlderThanAYearOnMacOnly) {
    for (const System system : {System::macOS, System::linux}) {
        TestHome home(system);
        const std::string backups = "Library/Application Support/MobileSync/Backup/";
        home.file(backups + "old-phone/Manifest.db", 4096);
        home.ageAll(backups + "old-phone", 365);
        home.file(backups + "new-phone/Manifest.db", 4096);
        home.ageAll(backups + "new-phone", 364);
        const auto proposals = home.proposals(DeviceBackupsRule(), home.context());
        if (system == System::linux)
            EXPECT_THAT(proposals, IsEmpty());
        else
            EXPECT_THAT(proposals, ElementsAre(P{backups + "old-phone", Safety::caution,
                                                 "Device backup last updated 365 days ago."}));
    }
}

TEST(RuleText, OneDayIsSingular) {
    EXPECT_EQ(ageText(1), "1 day");
}

} // namespace

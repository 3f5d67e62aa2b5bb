#include "BrantleServices/DeletionGuard.hpp"
#include "BrantleServices/LinuxSystem.hpp"

#include "support/GuardForTests.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <unistd.h>

using namespace brantle;

namespace {

struct Row {
    std::string path; // "~" stands for the home folder
    std::string expected;
};

// The verdict in the command-line tool's words.
std::string described(const GuardVerdict& verdict) {
    if (!verdict.isAllowed()) return "blocked: " + std::string(verdict.reason());
    const auto& caution = verdict.removal()->caution();
    return caution ? "allowed: " + *caution : "allowed";
}

std::string expanded(const std::string& path, const std::string& home) {
    return path.starts_with('~') ? home + path.substr(1) : path;
}

// A home folder with one hidden folder and one hidden file, for the dot-entry cautions.
struct Home {
    TempFolder root;
    std::string path = root / "u";
    Home() {
        std::filesystem::create_directories(path + "/.vim");
        writeFile(path + "/.vimrc");
    }
};

void expectRows(const DeletionGuard& guard, const std::vector<Row>& rows) {
    for (const auto& row : rows) {
        const auto path = expanded(row.path, guard.home());
        EXPECT_EQ(described(guard.check(path)), row.expected) << "path: " << row.path;
    }
}

DeletionGuard::RunningAppPredicate runningSet(std::set<std::string> apps) {
    return [apps = std::move(apps)](const std::string& path) { return apps.contains(path); };
}

const std::string wholeVolume = "blocked: A whole volume can't be moved to the Trash";
const std::string topLevel = "blocked: Top-level system folder";
const std::string standard = "blocked: Standard folder in your home";
const std::string secrets = "blocked: Holds passwords or keys";
const std::string itself = "blocked: Ambrel itself";
const std::string running = "blocked: This app is running — quit it first";
const std::string library =
    "blocked: Inside a Photos or Music library — remove items from within that app";
const std::string partOfApp =
    "blocked: Part of an app — removing it would break the app. Remove the whole app instead";
const std::string structural = "blocked: Structural system folder";
const std::string cloudRoot = "blocked: A cloud storage provider's root folder";
const std::string cloud =
    "allowed: Stored in the cloud — deleting it also removes it from your other devices";
const std::string appData = "allowed: App data — the app may lose settings, documents or history";
const std::string uninstalls = "allowed: Uninstalls this app";
const std::string shared = "allowed: Shared system-wide software or settings";
const std::string devTool = "allowed: Settings or data for a developer tool";
const std::string shellFile = "allowed: A settings file for your shell or developer tools";
const std::string trash = "blocked: The Trash itself — empty the Trash instead";
const std::string nulByte = "blocked: Not a valid path — it holds a NUL byte";

// Rules and cautions that read the same on both systems.
const std::vector<Row> commonRows = {
    {"relative/path", "blocked: Not an absolute path"},
    {std::string("~/\0junk", 7), nulByte},
    {"/", wholeVolume},
    {"/..", wholeVolume},
    {"~", standard},
    {"~/./x/..", standard},
    {"~/.ssh", secrets},
    {"~/.ssh/known_hosts", secrets},
    {"~/.sshkeys", shellFile},
    {"~/Pictures/Photos Library.photoslibrary", "allowed"},
    {"~/Pictures/Photos Library.photoslibrary/originals/x.jpg", library},
    {"~/Tools/Foo.app", "allowed"},
    {"~/Tools/Foo.app/Contents", partOfApp},
    {"~/Tools/Foo.app/Other", "allowed"},
    {"~/Tools/Foo.apps/Contents", "allowed"},
    {"~/Tools/Lib.photoslibrary/Foo.app/Contents", library},
    {"~/Tools/Foo.app/Contents/Lib.photoslibrary/x", partOfApp},
    {"~/.npm", "allowed"},
    {"~/.m2/", "allowed"},
    {"~/.vim", devTool},
    {"~/.vimrc", shellFile},
    {"~/project/.git", "allowed"},
};

} // namespace

TEST(DeletionGuard, MacProfileRules) {
    Home home;
    const DeletionGuard guard(home.path + "/./", "/Applications/Ambrel.app/",
                              runningSet({"/Applications/Running.app"}),
                              std::make_shared<const PlatformProfile>(PlatformProfile::macOS()));
    EXPECT_EQ(guard.home(), home.path);
    EXPECT_EQ(guard.appBundle(), "/Applications/Ambrel.app");
    expectRows(guard, commonRows);
    expectRows(guard, {
                          {"/Volumes/Backup", wholeVolume},
                          {"/Volumes", topLevel},
                          {"/Volumes/Backup/Old", "allowed"},
                          {"/Applications", topLevel},
                          {"/Applications/", topLevel},
                          {"/System/Library/Kernels", "blocked: Part of macOS"},
                          {"/usr", "blocked: Part of macOS"},
                          {"/usr/local", "blocked: Part of macOS"},
                          {"/usr/local/Cellar", shared},
                          {"/usr/./local/../bin/ls", "blocked: Part of macOS"},
                          {"/usrdata", "allowed"},
                          {"/private/var/folders", "allowed"},
                          {"/etc2", "allowed"},
                          {"~/Downloads", standard},
                          {"~/Library", standard},
                          {"~/Videos", "allowed"},
                          {"~/Library/Keychains/login.keychain-db", secrets},
                          {"/Applications/Ambrel.app", itself},
                          {"/Applications/Ambrel.app/Contents/MacOS/Ambrel", itself},
                          {"/Applications/Ambrel.application", "allowed"},
                          {"/Applications/Running.app", running},
                          {"/Applications/Running.app/Contents/Info.plist", partOfApp},
                          {"/Applications/Foo.app", uninstalls},
                          {"/Applications/Foo.app/Contents/Resources/x", partOfApp},
                          {"~/Library/Containers", structural},
                          {"~/Library/Caches",
                           "blocked: Structural folder inside Library — clean what's inside it "
                           "instead"},
                          {"/Library/Fonts/x.ttf", shared},
                          {"/opt/homebrew", shared},
                          {"~/Library/CloudStorage/Dropbox", cloudRoot},
                          {"~/Library/CloudStorage/Dropbox/a.txt", cloud},
                          {"~/Library/Caches/com.example", "allowed"},
                          {"~/Library/Developer/Xcode/DerivedData/Proj", "allowed"},
                          {"~/Library/Developer/Xcode/DerivedDataX", appData},
                          {"~/Library/Developer/Xcode", appData},
                          {"~/Library/pnpm/store/v3", "allowed"},
                          {"~/Library/pnpm/other", appData},
                          {"~/Library/Preferences/x.plist", appData},
                          {"~/Library/Containers/x", appData},
                          {"~/Library/Containers/x/Data/Library/Caches", "allowed"},
                          {"~/Library/Containers/x/Data/Library/Preferences", appData},
                          {"~/Dropbox", "allowed"},
                          {"~/Apps/x.AppImage", "allowed"},
                          {"/mnt/usb", "allowed"},
                          {"/home", "allowed"},
                          {"/users", topLevel},
                          {"/SYSTEM", "blocked: Part of macOS"},
                          {"~/.SSH", secrets},
                          {"~/LIBRARY/Keychains/x", secrets},
                          {"/applications/Foo.APP/contents/x", partOfApp},
                          {"/APPLICATIONS/ambrel.app", itself},
                          {"/Applications/foo.App", uninstalls},
                      });
}

TEST(DeletionGuard, LinuxProfileRules) {
    Home home;
    auto profile = PlatformProfile::linux();
    profile.isMountPoint = [](const std::string& path) {
        return path == "/" || path == "/mnt/usb" || path.ends_with("/u/Media/disk");
    };
    const auto app = home.path + "/Apps/Ambrel.AppImage";
    const DeletionGuard guard(home.path, app, runningSet({home.path + "/Apps/tool.AppImage"}),
                              std::make_shared<const PlatformProfile>(std::move(profile)));
    expectRows(guard, commonRows);
    expectRows(guard,
               {
                   {"/mnt/usb", wholeVolume},
                   {"~/Media/disk", wholeVolume},
                   {"/mnt/usb/a", "allowed"},
                   {"/Volumes/Backup", "allowed"},
                   {"/home", topLevel},
                   {"/usr", "blocked: Part of Linux"},
                   {"/usr/local/share/x", shared},
                   {"/usrdata", "allowed"},
                   {"/var/lib/dpkg", "blocked: Part of Linux"},
                   {"/var/cache/apt", shared},
                   {"/etc/passwd", "blocked: Part of Linux"},
                   {"/opt/app", shared},
                   {"/Applications/Foo.app", "allowed"},
                   {"~/Videos", standard},
                   {"~/.local", standard},
                   {"~/Movies", "allowed"},
                   {"~/Videos/a.mp4", "allowed"},
                   {"~/.local/share/keyrings/login.keyring", secrets},
                   {"~/.password-store", secrets},
                   {app, itself},
                   {home.path + "/Apps/tool.AppImage", running},
                   {home.path + "/Apps/other.AppImage", uninstalls},
                   {"~/.var/app", structural},
                   {"~/.var/foo",
                    "blocked: Structural folder inside .var — clean what's inside it instead"},
                   {"~/.local/share/gnome-shell", appData},
                   {"~/.config/foo/settings.ini", appData},
                   {"~/.var/app/org.x.App/data", appData},
                   {"~/.var/app/org.x.App/cache", "allowed"},
                   {"~/.local/share/Trash", trash},
                   {"~/.local/share/Trash/files", trash},
                   {"~/.local/share/Trash/files/x", "allowed"},
                   {"~/.local/share/Trash/files/info", "allowed"},
                   {"/mnt/usb/.Trash-1000", trash},
                   {"/mnt/usb/.Trash", trash},
                   {"/mnt/usb/.Trash/1000", trash},
                   {"/mnt/usb/.Trash/1000/files/old.iso", "allowed"},
                   {"/mnt/usb/.Trash-me", "allowed"},
                   {"~/.local/share/Trashcan", appData},
                   {"~/Dropbox", cloudRoot},
                   {"~/Dropbox/a.txt", cloud},
                   {"~/Dropboxer", "allowed"},
                   {"~/Library/Caches", "allowed"},
               });
}

// With "/home" a link to "/var/home", a startup-disk scan names the home by its real path.
TEST(DeletionGuard, LinkedHomeIsProtectedByItsRealPathToo) {
    TempFolder root;
    std::filesystem::create_directories(root / "var/home/u/.ssh");
    std::filesystem::create_directories(root / "data/docs");
    std::filesystem::create_directory_symlink(root / "var/home", root / "home");
    std::filesystem::create_directory_symlink(root / "data/docs", root / "var/home/u/Documents");
    const auto guard = linuxGuard(root / "home/u");
    const auto real = root / "var/home/u";
    expectRows(guard, {
                          {real, standard},
                          {real + "/.ssh/id_ed25519", secrets},
                          {real + "/Downloads", standard},
                          {real + "/.local/share/Trash", trash},
                          {real + "/.config/app", appData},
                          {real + "/.zshrc", shellFile},
                          {root / "data/docs", standard},
                          {root / "home/u/.ssh", secrets},
                          {real + "/project", "allowed"},
                      });
}

TEST(DeletionGuard, AllowedRemovalCarriesTheStandardisedPath) {
    const DeletionGuard guard("/home/u", "/opt/ambrel", nullptr,
                              std::make_shared<const PlatformProfile>(PlatformProfile::macOS()));
    const auto verdict = guard.check("/Volumes/Backup/./Old/x/../");
    ASSERT_TRUE(verdict.isAllowed());
    EXPECT_EQ(verdict.removal()->path(), "/Volumes/Backup/Old");
    EXPECT_EQ(verdict, guard.check("/Volumes//Backup/Old"));
    EXPECT_EQ(verdict, guard.check("/Volumes/Backup/Old/"));
}

TEST(DeletionGuard, LiveGuardKnowsThisProgramAndItsHome) {
    const auto guard = DeletionGuard::live();
    const auto self = LinuxSystem::applicationPath();
    EXPECT_EQ(described(guard.check(self)), itself);
    EXPECT_TRUE(guard.isRunningApp()(self));
    EXPECT_FALSE(guard.check(guard.home()).isAllowed());
}

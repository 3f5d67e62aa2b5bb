#include "Shoreline/SuggestionFolders.hpp"

#include "BrantleCore/PathText.hpp"

#include <QStandardPaths>

namespace shoreline {

namespace {

std::vector<SuggestionFolders::PackageCache> quickCaches(const std::string& pnpmStore) {
    return {{".npm/_cacache", "npm"},     {".gradle/caches", "Gradle"},
            {".cache/pip", "pip"},        {".cache/yarn", "Yarn"},
            {".cargo/registry", "Cargo"}, {".pnpm-store", "pnpm"},
            {pnpmStore, "pnpm"},          {".bun/install/cache", "Bun"},
            {".nuget/packages", "NuGet"}, {".cache/node-gyp", "node-gyp"}};
}

std::vector<SuggestionFolders::PackageCache> slowCaches() {
    return {{"go/pkg/mod", "Go modules"},
            {".m2/repository", "Maven"},
            {".cocoapods/repos", "CocoaPods specs"},
            {".cache/huggingface", "Hugging Face models"}};
}

const std::vector<std::string> appleInstallers{"dmg", "pkg", "mpkg", "xip", "iso"};

/// The configured folder of an XDG role as a path relative to `home`, or `usual` when it is
/// not configured inside the home folder.
std::string userFolder(QStandardPaths::StandardLocation location, const std::string& home,
                       const std::string& usual) {
    const std::string folder =
        brantle::PathText::standardised(QStandardPaths::writableLocation(location).toStdString());
    const auto relative = brantle::PathText::below(folder, home);
    return relative ? std::string(*relative) : usual;
}

void replaceFolder(std::string& path, const std::string& usual, const std::string& configured) {
    if (brantle::PathText::isAtOrInside(path, usual)) path = configured + path.substr(usual.size());
}

} // namespace

SuggestionFolders SuggestionFolders::macOS() {
    SuggestionFolders f;
    f.appCaches = "Library/Caches";
    f.systemCachePrefixes = {"com.apple."};
    f.systemCacheReason = "macOS cache — safe to clear, but macOS often rebuilds it straight away.";
    f.systemContainerCacheReason =
        "Cache for a macOS service — safe to clear, but it often rebuilds straight away.";
    f.containers = "Library/Containers";
    f.containerCaches = "Data/Library/Caches";
    f.logs = {"Library/Logs/*"};
    f.xcodeDeveloper = "Library/Developer";
    f.quickPackageCaches = quickCaches("Library/pnpm/store");
    f.slowPackageCaches = slowCaches();
    f.installerExtensions = appleInstallers;
    f.downloads = "Downloads";
    f.deliberatePlaces = {"Documents", "Desktop", "Pictures", "Movies", "Music"};
    f.managedLibraries = {"Music/Music/", "Music/iTunes/", "Movies/TV/",
                          "Pictures/Photos Library.photoslibrary/"};
    f.deviceBackups = "Library/Application Support/MobileSync/Backup";
    return f;
}

SuggestionFolders SuggestionFolders::linux() {
    SuggestionFolders f;
    f.appCaches = ".cache";
    f.systemCacheNames = {"fontconfig", "thumbnails", "mesa_shader_cache", "tracker3",
                          "gstreamer-1.0"};
    f.systemCacheReason = "System cache — safe to clear, but it often rebuilds straight away.";
    f.systemContainerCacheReason = f.systemCacheReason;
    f.containers = ".var/app";
    f.containerCaches = "cache";
    f.logs = {".local/state/*/log", ".local/state/*/logs", ".xsession-errors"};
    f.quickPackageCaches = quickCaches(".local/share/pnpm/store");
    f.slowPackageCaches = slowCaches();
    f.installerExtensions = appleInstallers;
    f.installerExtensions.insert(f.installerExtensions.end(),
                                 {"deb", "rpm", "run", "appimage", "flatpakref"});
    f.downloads = "Downloads";
    f.deliberatePlaces = {"Documents", "Desktop", "Pictures", "Videos", "Music"};
    // Bundles of these libraries can be copied onto any disk; they stay hands-off here too.
    f.managedLibraries = {"Music/Music/", "Music/iTunes/", "Videos/TV/",
                          "Pictures/Photos Library.photoslibrary/"};
    return f;
}

SuggestionFolders SuggestionFolders::linuxConfigured(const std::string& home) {
    SuggestionFolders f = linux();
    const std::pair<QStandardPaths::StandardLocation, std::string> roles[] = {
        {QStandardPaths::DownloadLocation, "Downloads"},
        {QStandardPaths::DocumentsLocation, "Documents"},
        {QStandardPaths::DesktopLocation, "Desktop"},
        {QStandardPaths::PicturesLocation, "Pictures"},
        {QStandardPaths::MoviesLocation, "Videos"},
        {QStandardPaths::MusicLocation, "Music"}};
    for (const auto& [location, usual] : roles) {
        const std::string configured = userFolder(location, home, usual);
        if (configured == usual) continue;
        replaceFolder(f.downloads, usual, configured);
        for (auto& place : f.deliberatePlaces)
            replaceFolder(place, usual, configured);
        for (auto& library : f.managedLibraries)
            replaceFolder(library, usual, configured);
    }
    return f;
}

SuggestionFolders SuggestionFolders::of(const std::string& profileName, const std::string& home) {
    return profileName == "macOS" ? macOS() : linuxConfigured(home);
}

} // namespace shoreline

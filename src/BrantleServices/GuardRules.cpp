#include "BrantleServices/GuardRules.hpp"

#include "BrantleCore/PathText.hpp"
#include "BrantleServices/DeletionGuard.hpp"

#include <algorithm>
#include <ranges>
#include <sys/stat.h>

namespace brantle {

namespace {

using PathText::isAtOrInside;
using PathText::isInside;
using Folders = std::vector<std::string>;

bool equalsAny(std::string_view path, const Folders& folders) {
    return std::ranges::find(folders, path) != folders.end();
}

bool atOrInsideAny(std::string_view path, const Folders& folders) {
    return std::ranges::any_of(folders, [&](const auto& f) { return isAtOrInside(path, f); });
}

bool insideAny(std::string_view path, const Folders& folders) {
    return std::ranges::any_of(folders, [&](const auto& f) { return isInside(path, f); });
}

// The path at or inside a pattern whose "*" components match any one component.
bool matchesAtOrInside(std::string_view path, std::string_view pattern) {
    const auto have = PathText::components(path);
    const auto want = PathText::components(pattern);
    if (have.size() < want.size()) return false;
    return std::ranges::equal(want, have | std::views::take(want.size()),
                              [](auto w, auto h) { return w == "*" || w == h; });
}

std::string resolved(const std::string& path, const std::string& home) {
    if (path == "~") return home;
    if (path.starts_with("~/")) return PathText::joined(home, path.substr(2));
    return path;
}

void resolve(Folders& folders, const std::string& home) {
    for (auto& folder : folders)
        folder = resolved(folder, home);
}

PlatformProfile resolvedProfile(PlatformProfile p, const std::string& home) {
    for (auto* list : {&p.volumeFolders, &p.topLevelFolders, &p.systemFolders, &p.standardFolders,
                       &p.secretFolders, &p.structuralFolders, &p.cloudRootParents, &p.cloudRoots,
                       &p.appDataFolders, &p.disposableAppData, &p.sharedFolders})
        resolve(*list, home);
    p.systemExemptFolder = resolved(p.systemExemptFolder, home);
    for (auto& parent : p.structuralParents)
        parent.folder = resolved(parent.folder, home);
    for (auto& app : p.applications)
        app.folder = resolved(app.folder, home);
    return p;
}

bool isDirectory(std::string_view path) {
    struct stat status {};
    return ::stat(std::string(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

GuardRules::GuardRules(const PlatformProfile& profile, const std::string& home,
                       std::string appBundle, RunningAppPredicate isRunningApp)
    : profile_(resolvedProfile(profile, home)), home_(home), appBundle_(std::move(appBundle)),
      isRunningApp_(std::move(isRunningApp)) {}

std::optional<std::string> GuardRules::blockReason(std::string_view path) const {
    if (auto reason = placeReason(path)) return reason;
    if (auto reason = packageReason(path)) return reason;
    return structureReason(path);
}

std::optional<std::string> GuardRules::placeReason(std::string_view path) const {
    const auto& p = profile_;
    const std::string whole(path);
    if (path == "/" || equalsAny(PathText::parent(path), p.volumeFolders) ||
        (p.isMountPoint && p.isMountPoint(whole)))
        return "A whole volume can't be moved to the Trash";
    if (equalsAny(path, p.topLevelFolders)) return "Top-level system folder";
    if (!isInside(path, p.systemExemptFolder) && atOrInsideAny(path, p.systemFolders))
        return p.systemReason;
    if (equalsAny(path, p.standardFolders)) return "Standard folder in your home";
    if (atOrInsideAny(path, p.secretFolders)) return "Holds passwords or keys";
    if (!appBundle_.empty() && isAtOrInside(path, appBundle_)) return "Ambrel itself";
    if (isRunningApp_ && isRunningApp_(whole)) return "This app is running — quit it first";
    return std::nullopt;
}

// Libraries and app bundles may go as a whole; only what lies inside them is blocked.
std::optional<std::string> GuardRules::packageReason(std::string_view path) const {
    const auto parts = PathText::components(path);
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
        if (parts[i].ends_with(".photoslibrary") || parts[i].ends_with(".musiclibrary"))
            return "Inside a Photos or Music library — remove items from within that app";
        if (parts[i].ends_with(".app") && (parts[i + 1] == "Contents" || parts[i + 1] == "Wrapper"))
            return "Part of an app — removing it would break the app. Remove the whole app instead";
    }
    return std::nullopt;
}

std::optional<std::string> GuardRules::structureReason(std::string_view path) const {
    const auto& p = profile_;
    const auto parent = PathText::parent(path);
    if (equalsAny(path, p.structuralFolders)) return "Structural system folder";
    for (const auto& structural : p.structuralParents) {
        if (parent == structural.folder) return structural.reason;
    }
    if (equalsAny(parent, p.cloudRootParents) || equalsAny(path, p.cloudRoots))
        return "A cloud storage provider's root folder";
    return std::nullopt;
}

std::optional<std::string> GuardRules::caution(std::string_view path) const {
    const auto& p = profile_;
    if (insideAny(path, p.cloudRootParents) || insideAny(path, p.cloudRoots))
        return "Stored in the cloud — deleting it also removes it from your other devices";
    if (insideAny(path, p.appDataFolders) && !isDisposableAppData(path))
        return "App data — the app may lose settings, documents or history";
    for (const auto& app : p.applications) {
        if ((app.folder.empty() || isInside(path, app.folder)) && path.ends_with(app.suffix))
            return "Uninstalls this app";
    }
    if (insideAny(path, p.sharedFolders)) return "Shared system-wide software or settings";
    return dotEntryCaution(path);
}

bool GuardRules::isDisposableAppData(std::string_view path) const {
    return std::ranges::any_of(profile_.disposableAppData, [&](const auto& pattern) {
        return matchesAtOrInside(path, pattern);
    });
}

std::optional<std::string> GuardRules::dotEntryCaution(std::string_view path) const {
    const auto name = PathText::lastComponent(path);
    if (PathText::parent(path) != home_ || !name.starts_with('.')) return std::nullopt;
    if (regenerableDotFolders().contains(name)) return std::nullopt;
    if (isDirectory(path)) return "Settings or data for a developer tool";
    return "A settings file for your shell or developer tools";
}

} // namespace brantle

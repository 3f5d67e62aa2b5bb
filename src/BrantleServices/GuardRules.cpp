#include "BrantleServices/GuardRules.hpp"

#include "BrantleCore/PathText.hpp"
#include "BrantleServices/DeletionGuard.hpp"

#include <algorithm>
#include <cstdlib>
#include <functional>
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

std::string folded(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

// Every home-relative entry once per home; folded when the profile folds case.
template <typename Entry, typename Field>
void resolve(std::vector<Entry>& entries, const std::vector<std::string>& homes, bool fold,
             Field field) {
    std::vector<Entry> out;
    for (const auto& entry : entries) {
        for (std::size_t i = 0; i < homes.size(); ++i) {
            if (i > 0 && !std::invoke(field, entry).starts_with('~')) break;
            Entry copy = entry;
            auto& text = std::invoke(field, copy);
            text = resolved(text, homes[i]);
            if (fold) text = folded(std::move(text));
            out.push_back(std::move(copy));
        }
    }
    entries = std::move(out);
}

// A folder given by its link-resolved path is the same folder: its real path is listed too.
void addRealPaths(Folders& folders) {
    const std::size_t given = folders.size();
    for (std::size_t i = 0; i < given; ++i) {
        char* real = ::realpath(folders[i].c_str(), nullptr);
        if (!real) continue;
        if (std::ranges::find(folders, std::string_view(real)) == folders.end())
            folders.emplace_back(real);
        std::free(real);
    }
}

PlatformProfile resolvedProfile(PlatformProfile p, const std::vector<std::string>& homes) {
    const auto text = [](auto& s) -> auto& {
        return s;
    };
    for (auto* list : {&p.volumeFolders, &p.topLevelFolders, &p.systemFolders, &p.standardFolders,
                       &p.secretFolders, &p.structuralFolders, &p.cloudRootParents, &p.cloudRoots,
                       &p.appDataFolders, &p.disposableAppData, &p.sharedFolders, &p.trashFolders,
                       &p.volumeTrashNames, &p.trashInnerFolders})
        resolve(*list, homes, p.foldsCase, text);
    if (!p.foldsCase) addRealPaths(p.standardFolders);
    p.systemExemptFolder = resolved(p.systemExemptFolder, homes.front());
    if (p.foldsCase) p.systemExemptFolder = folded(p.systemExemptFolder);
    resolve(p.structuralParents, homes, p.foldsCase, &PlatformProfile::ReasonedFolder::folder);
    resolve(p.applications, homes, p.foldsCase, &PlatformProfile::AppPattern::folder);
    if (p.foldsCase) {
        for (auto& app : p.applications)
            app.suffix = folded(app.suffix);
    }
    return p;
}

bool matchesName(std::string_view name, std::string_view pattern) {
    if (!pattern.ends_with('*')) return name == pattern;
    const auto stem = pattern.substr(0, pattern.size() - 1);
    return name.size() > stem.size() && name.starts_with(stem) &&
           name.substr(stem.size()).find_first_not_of("0123456789") == std::string_view::npos;
}

bool isNumber(std::string_view name) {
    return !name.empty() && name.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isDirectory(std::string_view path) {
    struct stat status {};
    return ::stat(std::string(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

GuardRules::GuardRules(const PlatformProfile& profile, const std::vector<std::string>& homes,
                       std::string appBundle, RunningAppPredicate isRunningApp)
    : profile_(resolvedProfile(profile, homes)), homes_(homes), appBundle_(std::move(appBundle)),
      isRunningApp_(std::move(isRunningApp)) {
    if (!profile_.foldsCase) return;
    for (auto& home : homes_)
        home = folded(std::move(home));
    appBundle_ = folded(std::move(appBundle_));
}

std::string GuardRules::compared(std::string_view path) const {
    return profile_.foldsCase ? folded(std::string(path)) : std::string(path);
}

std::optional<std::string> GuardRules::blockReason(std::string_view original) const {
    const std::string whole(original);
    const std::string path = compared(original);
    if (auto reason = placeReason(path, whole)) return reason;
    if (auto reason = packageReason(path)) return reason;
    return structureReason(path);
}

std::optional<std::string> GuardRules::placeReason(std::string_view path,
                                                   const std::string& whole) const {
    const auto& p = profile_;
    if (path == "/" || equalsAny(PathText::parent(path), p.volumeFolders) ||
        (p.isMountPoint && p.isMountPoint(whole)))
        return "A whole volume can't be moved to the Trash";
    if (equalsAny(path, p.topLevelFolders)) return "Top-level system folder";
    if (!isInside(path, p.systemExemptFolder) && atOrInsideAny(path, p.systemFolders))
        return p.systemReason;
    if (equalsAny(path, p.standardFolders)) return "Standard folder in your home";
    if (atOrInsideAny(path, p.secretFolders)) return "Holds passwords or keys";
    if (isTrashFolder(path)) return "The Trash itself — empty the Trash instead";
    if (!appBundle_.empty() && isAtOrInside(path, appBundle_)) return "Ambrel itself";
    if (isRunningApp_ && isRunningApp_(whole)) return "This app is running — quit it first";
    return std::nullopt;
}

// Libraries and app bundles may go as a whole; only what lies inside them is blocked.
std::optional<std::string> GuardRules::packageReason(std::string_view path) const {
    const auto parts = PathText::components(path);
    const auto contents = compared("Contents");
    const auto wrapper = compared("Wrapper");
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
        if (parts[i].ends_with(".photoslibrary") || parts[i].ends_with(".musiclibrary"))
            return "Inside a Photos or Music library — remove items from within that app";
        if (parts[i].ends_with(".app") && (parts[i + 1] == contents || parts[i + 1] == wrapper))
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

bool GuardRules::isTrashFolder(std::string_view path) const {
    const auto& p = profile_;
    const auto isTrash = [&](std::string_view folder) {
        const auto name = PathText::lastComponent(folder);
        const auto parentName = PathText::lastComponent(PathText::parent(folder));
        return equalsAny(folder, p.trashFolders) ||
               std::ranges::any_of(p.volumeTrashNames,
                                   [&](const auto& n) { return matchesName(name, n); }) ||
               (isNumber(name) && std::ranges::any_of(p.volumeTrashNames, [&](const auto& n) {
                    return !n.ends_with('*') && parentName == n;
                }));
    };
    if (isTrash(path)) return true;
    return equalsAny(PathText::lastComponent(path), p.trashInnerFolders) &&
           isTrash(PathText::parent(path));
}

std::optional<std::string> GuardRules::caution(std::string_view original) const {
    const std::string whole(original);
    const std::string path = compared(original);
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
    return dotEntryCaution(path, whole);
}

bool GuardRules::isDisposableAppData(std::string_view path) const {
    return std::ranges::any_of(profile_.disposableAppData, [&](const auto& pattern) {
        return matchesAtOrInside(path, pattern);
    });
}

std::optional<std::string> GuardRules::dotEntryCaution(std::string_view path,
                                                       const std::string& original) const {
    const auto name = PathText::lastComponent(path);
    if (!equalsAny(PathText::parent(path), homes_) || !name.starts_with('.')) return std::nullopt;
    if (regenerableDotFolders().contains(name)) return std::nullopt;
    if (isDirectory(original)) return "Settings or data for a developer tool";
    return "A settings file for your shell or developer tools";
}

} // namespace brantle

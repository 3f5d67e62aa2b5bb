#pragma once

#include <string>
#include <vector>

namespace shoreline {

/// The home-relative folders and names the cleanup suggestions read, per operating system.
/// Every path is relative to the home folder, without leading or trailing "/"; an empty path
/// means the system has no such place, and the rule reading it finds nothing.
struct SuggestionFolders {
    /// A package manager's cache folder and the label its reason names.
    struct PackageCache {
        std::string path;
        std::string label;
    };

    /// Folder whose children are app caches.
    std::string appCaches;
    /// Caches of the system itself, proposed for review: exact names, and name prefixes.
    std::vector<std::string> systemCacheNames;
    std::vector<std::string> systemCachePrefixes;
    std::string systemCacheReason;
    std::string systemContainerCacheReason;
    /// Folder of sandbox containers named by application id, and the path of the cache folder
    /// inside each container.
    std::string containers;
    std::string containerCaches;
    /// Logs: paths whose components may be "*" for any one name; every match is proposed.
    std::vector<std::string> logs;
    /// Xcode's developer folder ("Library/Developer"), the simulators' folder beside it.
    std::string xcodeDeveloper;
    /// Package manager caches, refetched quickly and slowly, in table order.
    std::vector<PackageCache> quickPackageCaches;
    std::vector<PackageCache> slowPackageCaches;
    /// Lower-case extensions of installers kept in Downloads.
    std::vector<std::string> installerExtensions;
    std::string downloads;
    /// Places where a copy was put on purpose, in rank order.
    std::vector<std::string> deliberatePlaces;
    /// Libraries an application manages; each ends in "/".
    std::vector<std::string> managedLibraries;
    std::string deviceBackups;

    /// The folders of macOS.
    static SuggestionFolders macOS();
    /// The folders of Linux with the usual XDG user folder names.
    static SuggestionFolders linux();
    /// Linux's folders with the XDG user folders this user has configured inside `home`.
    static SuggestionFolders linuxConfigured(const std::string& home);
    /// The folders of the system a profile describes, read inside `home`.
    static SuggestionFolders of(const std::string& profileName, const std::string& home);
};

} // namespace shoreline

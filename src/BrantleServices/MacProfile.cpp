#include "BrantleServices/PlatformProfile.hpp"

namespace brantle {

PlatformProfile PlatformProfile::macOS() {
    const std::string insideLibrary =
        "Structural folder inside Library — clean what's inside it instead";
    PlatformProfile p;
    p.name = "macOS";
    p.volumeFolders = {"/Volumes"};
    p.topLevelFolders = {"/Applications", "/Users",   "/Library", "/private",
                         "/var",          "/Volumes", "/opt"};
    p.systemFolders = {"/System",         "/bin",    "/sbin",        "/usr",
                       "/private/var/db", "/var/db", "/private/etc", "/etc",
                       "/Library/Apple",  "/dev",    "/cores"};
    p.systemExemptFolder = "/usr/local";
    p.systemReason = "Part of macOS";
    p.standardFolders = {"~",
                         "~/Library",
                         "~/Documents",
                         "~/Desktop",
                         "~/Downloads",
                         "~/Movies",
                         "~/Music",
                         "~/Pictures",
                         "~/Public",
                         "~/Applications",
                         "~/Library/Mobile Documents"};
    p.secretFolders = {"~/.ssh", "~/.gnupg", "~/Library/Keychains"};
    p.structuralFolders = {"/Library",
                           "~/Library",
                           "~/Library/Containers",
                           "~/Library/Group Containers",
                           "/Applications",
                           "~/Library/Mobile Documents",
                           "~/Library/CloudStorage"};
    p.structuralParents = {{"/Library", insideLibrary}, {"~/Library", insideLibrary}};
    p.cloudRootParents = {"~/Library/Mobile Documents", "~/Library/CloudStorage"};
    p.appDataFolders = {"~/Library"};
    p.disposableAppData = {"~/Library/Containers/*/Data/Library/Caches",
                           "~/Library/Caches",
                           "~/Library/Logs",
                           "~/Library/Developer/Xcode/DerivedData",
                           "~/Library/Developer/Xcode/iOS DeviceSupport",
                           "~/Library/Developer/Xcode/Archives",
                           "~/Library/Developer/CoreSimulator/Caches",
                           "~/Library/pnpm/store"};
    p.applications = {{"/Applications", ".app"}};
    p.applicationFolders = {"/Applications"};
    p.sharedFolders = {"/Library", "/usr/local", "/opt"};
    p.foldsCase = true;
    return p;
}

} // namespace brantle

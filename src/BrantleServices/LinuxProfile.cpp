#include "BrantleServices/LinuxSystem.hpp"
#include "BrantleServices/Locations.hpp"
#include "BrantleServices/PlatformProfile.hpp"

#include <algorithm>

namespace brantle {

namespace {

std::string insideFolder(const std::string& name) {
    return "Structural folder inside " + name + " — clean what's inside it instead";
}

// XDG user folders configured elsewhere than their usual names are standard folders too.
void addConfiguredUserFolders(PlatformProfile& p) {
    const std::string home = Locations::homeDirectory();
    for (const auto& folder : LinuxSystem::userFolders()) {
        const bool usual = std::ranges::any_of(p.standardFolders, [&](const std::string& s) {
            return s.starts_with("~/") && home + s.substr(1) == folder;
        });
        if (!usual && folder != home) p.standardFolders.push_back(folder);
    }
}

} // namespace

PlatformProfile PlatformProfile::linux() {
    PlatformProfile p;
    p.name = "Linux";
    p.isMountPoint = LinuxSystem::isMountPoint;
    p.topLevelFolders = {"/home", "/root", "/media", "/mnt", "/opt",
                         "/srv",  "/var",  "/tmp",   "/snap"};
    p.systemFolders = {"/bin", "/sbin", "/lib",     "/lib32", "/lib64", "/libx32",
                       "/usr", "/etc",  "/boot",    "/efi",   "/dev",   "/proc",
                       "/sys", "/run",  "/var/lib", "/var/db"};
    p.systemExemptFolder = "/usr/local";
    p.systemReason = "Part of Linux";
    p.standardFolders = {
        "~",          "~/Desktop",      "~/Documents",   "~/Downloads", "~/Music",
        "~/Pictures", "~/Public",       "~/Templates",   "~/Videos",    "~/.config",
        "~/.local",   "~/.local/share", "~/.local/state"};
    addConfiguredUserFolders(p);
    p.secretFolders = {"~/.ssh", "~/.gnupg", "~/.local/share/keyrings", "~/.password-store",
                       "~/.pki"};
    p.structuralFolders = {"~/.local/share", "~/.config", "~/.var/app"};
    p.structuralParents = {{"~/.local", insideFolder(".local")}, {"~/.var", insideFolder(".var")}};
    p.cloudRoots = {"~/Dropbox", "~/Nextcloud", "~/OneDrive", "~/pCloudDrive", "~/MEGA"};
    p.appDataFolders = {"~/.local/share", "~/.config", "~/.var/app"};
    p.disposableAppData = {"~/.var/app/*/cache", "~/.local/share/Trash"};
    p.applications = {{"", ".AppImage"}};
    // Packages of their own, Flatpak's system installation and snaps; Flatpak's and
    // AppImages' per-user places are inside the home folder.
    p.applicationFolders = {"/opt", "/var/lib/flatpak", "/snap"};
    p.sharedFolders = {"/usr/local", "/opt", "/srv", "/var"};
    p.trashFolders = {"~/.local/share/Trash"};
    p.volumeTrashNames = {".Trash", ".Trash-*"};
    p.trashInnerFolders = {"files", "info", "expunged"};
    return p;
}

} // namespace brantle

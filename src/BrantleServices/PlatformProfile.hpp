#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace brantle {

/// The folder lists and texts that differ between operating systems, as plain data plus a few
/// predicates. Chosen once at start (`current()`); tests build any profile and inject it.
/// Paths beginning with "~" are relative to the home folder ("~" is the home folder itself);
/// all others are absolute. Every path is written standardised (no trailing "/").
struct PlatformProfile {
    /// A folder with the reason shown when something directly inside it is blocked.
    struct ReasonedFolder {
        std::string folder;
        std::string reason;
    };
    /// Items ending in `suffix` inside `folder` (anywhere when empty) are applications.
    struct AppPattern {
        std::string folder;
        std::string suffix;
    };

    std::string name;

    // Deletion guard, in rule order.
    /// Folders whose direct children are whole volumes ("/Volumes").
    std::vector<std::string> volumeFolders;
    /// Whether a standardised path is a mount point; may be empty (no mount table).
    std::function<bool(const std::string& path)> isMountPoint;
    /// Top-level folders blocked themselves (not their contents).
    std::vector<std::string> topLevelFolders;
    /// System folders blocked with everything inside them, except inside `systemExemptFolder`.
    std::vector<std::string> systemFolders;
    std::string systemExemptFolder;
    std::string systemReason;
    /// The home folder and its standard folders, blocked themselves.
    std::vector<std::string> standardFolders;
    /// Folders of passwords and keys, blocked with everything inside.
    std::vector<std::string> secretFolders;
    /// Structural folders blocked themselves.
    std::vector<std::string> structuralFolders;
    /// Folders whose direct children are blocked, each with its own reason.
    std::vector<ReasonedFolder> structuralParents;
    /// Cloud storage: folders whose direct children are provider roots, and provider roots.
    /// Both are blocked as roots and everything inside them carries the cloud caution.
    std::vector<std::string> cloudRootParents;
    std::vector<std::string> cloudRoots;
    /// Folders of applications' data (caution), and the disposable places inside them that
    /// need none; in the latter "*" stands for any one component.
    std::vector<std::string> appDataFolders;
    std::vector<std::string> disposableAppData;
    std::vector<AppPattern> applications;
    /// Folders where applications are installed, outside the home folder: the usage history
    /// records them beside the home folder.
    std::vector<std::string> applicationFolders;
    /// Folders of software and settings shared by every user (caution inside them).
    std::vector<std::string> sharedFolders;
    /// The Trash: the user's Trash folders, the names of volumes' Trash folders ("*" stands
    /// for the user id), and the folders inside a Trash that hold its items. Each is blocked
    /// itself, as is a numeric (per-user) folder in a volume's Trash; the items inside stay
    /// removable.
    std::vector<std::string> trashFolders;
    std::vector<std::string> volumeTrashNames;
    std::vector<std::string> trashInnerFolders;
    /// Whether paths compare without regard to letter case, as on the system's default
    /// volumes (ASCII letters).
    bool foldsCase = false;

    /// The profile of macOS, with its lists exactly as that system has them.
    static PlatformProfile macOS();
    /// The profile of Linux; reads the mount table live and adds the configured XDG user
    /// folders of this machine.
    static PlatformProfile linux();
    /// The profile of the system this program runs on, made on first use.
    static std::shared_ptr<const PlatformProfile> current();
};

} // namespace brantle

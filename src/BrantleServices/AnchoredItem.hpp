#pragma once

#include "BrantleServices/Descriptor.hpp"
#include "BrantleServices/FileError.hpp"

#include <cstdint>
#include <expected>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace brantle {

/// An item pinned to the folder its judged path names: the folder is opened component by
/// component without following any symbolic link, so whatever is done relative to `folder`
/// and `name` touches exactly the object whose path the guard judged, whatever links or
/// renames appear above it afterwards.
struct AnchoredItem {
    /// The item's folder, opened for use with the *at calls only.
    std::shared_ptr<const Descriptor> folder;
    /// The item's own name in that folder.
    std::string name;
    /// The item itself as found there (a symbolic link is taken as itself).
    struct stat status {};

    /// The item at a standardised absolute path. Fails with the item's reason when the path
    /// holds a NUL byte, passes through a symbolic link, names a mount point (a whole
    /// volume), or does not exist (ENOENT).
    using FolderOpener = std::expected<Descriptor, FileError> (*)(std::string_view path);
    static std::expected<AnchoredItem, FileError> open(std::string_view path,
                                                       FolderOpener opener = openFolder);

    /// The folder at a standardised absolute path, reached without following any symbolic
    /// link: `openat2` with RESOLVE_NO_SYMLINKS, or `openFolderStepwise` where the kernel
    /// lacks it.
    static std::expected<Descriptor, FileError> openFolder(std::string_view path);
    /// The same by opening one component at a time with O_NOFOLLOW.
    static std::expected<Descriptor, FileError> openFolderStepwise(std::string_view path);
};

/// The reasons shown when an item is refused before anything is done to it.
namespace AnchorReason {
inline constexpr std::string_view throughLink =
    "It's reached through a symbolic link, so Ambrel won't remove it.";
inline constexpr std::string_view mountPoint =
    "It's a mount point (a whole volume), so Ambrel won't remove it.";
inline constexpr std::string_view nulByte =
    "Its path holds a NUL byte, so it can't name this item.";
} // namespace AnchorReason

/// Whether a folder entry (or, with an empty name, the folder itself) is the root of a
/// mount: a mount point or a bind mount, even of the same file system.
bool isMountRoot(int folder, const char* name);

/// The mount id of a folder entry (or the folder itself with an empty name), or none when the
/// kernel cannot tell.
std::uint64_t mountIdOf(int folder, const char* name);

} // namespace brantle

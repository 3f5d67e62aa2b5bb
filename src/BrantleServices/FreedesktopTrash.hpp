#pragma once

#include "BrantleServices/AnchoredItem.hpp"
#include "BrantleServices/FileError.hpp"

#include <expected>
#include <string>
#include <string_view>

namespace brantle {

/// The freedesktop.org Trash (version 1.0) worked through descriptors: the home Trash
/// in the data folder for items on its volume, else the volume's own "$topdir/.Trash/$uid"
/// (when ".Trash" is a sticky folder, not a link) or "$topdir/.Trash-$uid". The trash info
/// file is written first, created exclusively, and the item is then renamed from its
/// anchored folder into "files", so the object moved is exactly the one anchored.
namespace FreedesktopTrash {

/// Moves the anchored item (found at the standardised `path`) to its Trash and returns its
/// path inside the Trash's "files" folder.
std::expected<std::string, FileError> trash(const AnchoredItem& item, std::string_view path);

/// The reason given when no usable Trash exists on the item's volume.
inline constexpr std::string_view noTrashReason =
    "Its volume has no Trash that Ambrel can use, so it stays where it is.";

} // namespace FreedesktopTrash

} // namespace brantle

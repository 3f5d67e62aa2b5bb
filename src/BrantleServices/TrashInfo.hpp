#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace brantle {

/// The ".trashinfo" file of the freedesktop.org Trash: where an item came from and when it
/// was trashed, as file managers read it to list and restore the item.
struct TrashInfo {
    /// The original path: absolute, or relative to the volume's top folder for a volume's
    /// own Trash. Raw bytes, percent-encoded in the file.
    std::string path;
    /// Local time of the deletion, "YYYY-MM-DDThh:mm:ss".
    std::string deletionDate;

    /// The file's text.
    std::string text() const;
    /// The fields of a file's text; none when it is not a trash info file.
    static std::optional<TrashInfo> parsed(std::string_view text);
    /// A moment as a deletion date in local time.
    static std::string localDate(std::time_t time);
};

/// Bytes as the path part of a URI: every byte but letters, digits, "-._~" and "/" as %XX.
std::string percentEncoded(std::string_view bytes);
/// The bytes back; none when an escape is malformed.
std::optional<std::string> percentDecoded(std::string_view text);

} // namespace brantle

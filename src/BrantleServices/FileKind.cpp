#include "BrantleServices/FileKind.hpp"

namespace brantle {

std::string_view fileKindName(FileKind kind) {
    switch (kind) {
    case FileKind::pictures:
        return "Pictures";
    case FileKind::video:
        return "Video";
    case FileKind::music:
        return "Music";
    case FileKind::documents:
        return "Documents";
    case FileKind::archives:
        return "Archives & disk images";
    case FileKind::code:
        return "Code & projects";
    case FileKind::applications:
        return "Applications & libraries";
    case FileKind::other:
        return "Other";
    }
    return "Other";
}

} // namespace brantle

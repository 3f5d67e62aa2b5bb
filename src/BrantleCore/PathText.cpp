#include "BrantleCore/PathText.hpp"

namespace brantle::PathText {

std::string standardised(std::string_view path) {
    const bool absolute = path.starts_with('/');
    std::vector<std::string_view> kept;
    for (const auto piece : components(path)) {
        if (piece == ".") continue;
        if (piece == "..") {
            if (!kept.empty() && kept.back() != "..") {
                kept.pop_back();
                continue;
            }
            if (absolute) continue; // there is nothing above the root
        }
        kept.push_back(piece);
    }
    std::string result = absolute ? "/" : "";
    for (std::size_t i = 0; i < kept.size(); ++i) {
        if (i > 0) result += '/';
        result += kept[i];
    }
    return result;
}

std::string_view withoutTrailingSlash(std::string_view path) {
    if (path.size() >= 2 && path.back() == '/') path.remove_suffix(1);
    return path;
}

std::vector<std::string_view> components(std::string_view path) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    while (start <= path.size()) {
        const auto end = std::min(path.find('/', start), path.size());
        if (end > start) pieces.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

std::string_view parent(std::string_view path) {
    const auto slash = path.rfind('/');
    if (slash == std::string_view::npos) return {};
    return slash == 0 ? path.substr(0, 1) : path.substr(0, slash);
}

std::string_view lastComponent(std::string_view path) {
    if (path == "/") return path;
    const auto slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

bool isInside(std::string_view path, std::string_view folder) {
    if (folder.empty()) return false;
    if (folder == "/") return path.size() > 1 && path.starts_with('/');
    return path.size() > folder.size() + 1 && path.starts_with(folder) &&
           path[folder.size()] == '/';
}

bool isAtOrInside(std::string_view path, std::string_view folder) {
    return path == folder || isInside(path, folder);
}

std::optional<std::string_view> below(std::string_view path, std::string_view folder) {
    if (!isInside(path, folder)) return std::nullopt;
    return path.substr(folder == "/" ? 1 : folder.size() + 1);
}

std::string joined(std::string_view folder, std::string_view name) {
    std::string result(folder);
    if (!result.ends_with('/')) result += '/';
    result += name;
    return result;
}

} // namespace brantle::PathText

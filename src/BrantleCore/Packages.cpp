#include "BrantleCore/Packages.hpp"

#include <array>

namespace brantle::Packages {

const std::unordered_set<std::string_view>& extensions() {
    static const std::unordered_set<std::string_view> set{
        "app",          "bundle",        "framework",    "plugin",    "appex",         "kext",
        "xpc",          "photoslibrary", "musiclibrary", "tvlibrary", "imovielibrary", "fcpbundle",
        "logicx",       "band",          "xcarchive",    "xcodeproj", "xcworkspace",   "playground",
        "rtfd",         "pages",         "numbers",      "key",       "photolibrary",  "aplibrary",
        "sparsebundle", "pkg",           "mpkg"};
    return set;
}

bool isPackageName(std::string_view folderName) {
    const auto dot = folderName.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return false;
    const std::string_view extension = folderName.substr(dot + 1);
    std::array<char, 16> lower{};
    if (extension.empty() || extension.size() > lower.size()) return false;
    for (std::size_t i = 0; i < extension.size(); ++i) {
        const char c = extension[i];
        lower[i] = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return extensions().contains(std::string_view(lower.data(), extension.size()));
}

} // namespace brantle::Packages

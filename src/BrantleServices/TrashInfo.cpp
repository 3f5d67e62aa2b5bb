#include "BrantleServices/TrashInfo.hpp"

#include <cstdio>

namespace brantle {

namespace {

bool isUnreserved(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~' || c == '/';
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

} // namespace

std::string percentEncoded(std::string_view bytes) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string out;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (isUnreserved(byte)) {
            out += c;
        } else {
            out += '%';
            out += digits[byte >> 4];
            out += digits[byte & 0xF];
        }
    }
    return out;
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        if (i + 2 >= text.size()) return std::nullopt;
        const int high = hexValue(text[i + 1]);
        const int low = hexValue(text[i + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        out += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return out;
}

std::string TrashInfo::text() const {
    return "[Trash Info]\nPath=" + percentEncoded(path) + "\nDeletionDate=" + deletionDate + "\n";
}

std::optional<TrashInfo> TrashInfo::parsed(std::string_view text) {
    std::optional<std::string> path;
    std::string date;
    bool inGroup = false;
    bool sawGroup = false;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        const auto line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.starts_with('[')) {
            inGroup = line == "[Trash Info]";
            sawGroup = sawGroup || inGroup;
        } else if (inGroup && line.starts_with("Path=")) {
            path = percentDecoded(line.substr(5));
        } else if (inGroup && line.starts_with("DeletionDate=")) {
            date = line.substr(13);
        }
    }
    if (!sawGroup || !path || path->empty()) return std::nullopt;
    return TrashInfo{std::move(*path), std::move(date)};
}

std::string TrashInfo::localDate(std::time_t time) {
    std::tm local{};
    ::localtime_r(&time, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
    return text;
}

} // namespace brantle

#include "BrantleServices/NcduText.hpp"

#include <cstdint>

namespace brantle::ncdu {

namespace {

constexpr unsigned escapeBase = 0xF700;

bool continuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

/// The length of the valid UTF-8 character starting at `at`, or 0 when its first byte is
/// not the start of one (overlong forms, surrogates and values past U+10FFFF are invalid).
std::size_t validLength(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t i) {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u;
    };
    const unsigned lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return continuation(byte(1)) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const unsigned second = byte(1);
        const bool ok = lead == 0xE0   ? second >= 0xA0 && second <= 0xBF
                        : lead == 0xED ? second >= 0x80 && second <= 0x9F
                                       : continuation(second);
        return ok && continuation(byte(2)) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const unsigned second = byte(1);
        const bool ok = lead == 0xF0   ? second >= 0x90 && second <= 0xBF
                        : lead == 0xF4 ? second >= 0x80 && second <= 0x8F
                                       : continuation(second);
        return ok && continuation(byte(2)) && continuation(byte(3)) ? 4 : 0;
    }
    return 0;
}

/// Whether the three bytes at `at` encode U+F780-U+F7FF, the range the escapes use.
bool isEscapeCharacter(std::string_view text, std::size_t at) {
    return at + 2 < text.size() && static_cast<unsigned char>(text[at]) == 0xEF &&
           (static_cast<unsigned char>(text[at + 1]) & 0xFE) == 0x9E &&
           continuation(static_cast<unsigned char>(text[at + 2]));
}

void appendEscape(unsigned char byte, std::string& out) {
    const unsigned code = escapeBase + byte;
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
}

} // namespace

std::string escapeInvalidBytes(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 16);
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t asciiStart = at;
        while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80)
            ++at;
        out.append(text.substr(asciiStart, at - asciiStart));
        if (at == text.size()) break;
        const std::size_t length = isEscapeCharacter(text, at) ? 0 : validLength(text, at);
        if (length == 0) {
            const std::size_t count = isEscapeCharacter(text, at) ? 3 : 1;
            for (std::size_t i = 0; i < count; ++i)
                appendEscape(static_cast<unsigned char>(text[at + i]), out);
            at += count;
        } else {
            out.append(text.substr(at, length));
            at += length;
        }
    }
    return out;
}

void restoreInvalidBytes(std::string_view name, std::string& out) {
    std::size_t at = 0;
    while (at < name.size()) {
        if (isEscapeCharacter(name, at)) {
            const unsigned code = ((static_cast<unsigned char>(name[at + 1]) & 0x3Fu) << 6) |
                                  (static_cast<unsigned char>(name[at + 2]) & 0x3Fu);
            out += static_cast<char>((0xF000u | code) - escapeBase);
            at += 3;
        } else {
            out += name[at++];
        }
    }
}

void appendEscaped(std::string_view bytes, std::string& out) {
    static constexpr char hex[] = "0123456789abcdef";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (byte < 0x20) {
            out += "\\u00";
            out += hex[byte >> 4];
            out += hex[byte & 0xF];
        } else {
            out += c;
        }
    }
}

} // namespace brantle::ncdu

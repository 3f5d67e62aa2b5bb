#pragma once

#include <string>
#include <string_view>

namespace brantle::ncdu {

/// ncdu writes names as raw bytes, so its exports may hold invalid UTF-8, which a strict JSON
/// parser refuses. These two carry such bytes through one: each invalid byte B (0x80-0xFF)
/// becomes the private-use character U+F700+B, and so does each byte of a character that is
/// itself in U+F780-U+F7FF, so the mapping reverses exactly.
std::string escapeInvalidBytes(std::string_view text);
/// The name with every U+F780-U+F7FF turned back into its byte, appended to `out`.
void restoreInvalidBytes(std::string_view name, std::string& out);

/// The bytes as the inside of a JSON string the way ncdu writes one: quote, backslash and
/// control characters escaped, every other byte (valid UTF-8 or not) as it is.
void appendEscaped(std::string_view bytes, std::string& out);

} // namespace brantle::ncdu

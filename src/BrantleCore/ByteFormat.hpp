#pragma once

#include <cstdint>
#include <string>

namespace brantle {

/// A file size the way the desktop shows one: decimal units, "0 bytes", "1 byte",
/// "999 bytes", "340 KB", "1.2 MB", "4.56 GB" (KB whole, MB one decimal, GB and up two;
/// trailing zeros dropped).
std::string formatBytes(std::uint64_t bytes);

} // namespace brantle

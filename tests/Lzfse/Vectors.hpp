#pragma once

// Access to the reference vectors in tests/data/lzfse.

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace lzfse::test {

using Bytes = std::vector<std::uint8_t>;

inline std::string vectorPath(const std::string& name) {
    return std::string(AMBREL_TEST_DATA) + "/lzfse/" + name;
}

/// The whole file, or an empty vector when it cannot be read.
inline Bytes readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// Vectors made by the reference encoder (constructed_multitype was assembled by hand).
inline const std::vector<std::string> referenceVectors{"empty",      "one_byte",   "text_100",
                                                       "mixed_4095", "mixed_4096", "english_64k"};

} // namespace lzfse::test

// Any bytes given to the decoder come back as output or an error value, never a crash.
#include "Lzfse/Lzfse.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto decoded = lzfse::decode(std::span(data, size));
    if (!decoded) (void)lzfse::describe(decoded.error());
    return 0;
}

// Whatever the input, our own stream decodes back to it exactly.
#include "Lzfse/Lzfse.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span input(data, size);
    const auto decoded = lzfse::decode(lzfse::encode(input));
    if (!decoded || !std::equal(decoded->begin(), decoded->end(), input.begin(), input.end()))
        std::abort();
    return 0;
}

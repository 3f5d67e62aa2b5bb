// Any bytes given to the decoder come back as output or an error value, never a crash; the
// window decoder on two threads agrees with the growing one.
#include "Lzfse/Lzfse.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span input(data, size);
    const auto decoded = lzfse::decode(input);
    if (!decoded) (void)lzfse::describe(decoded.error());
    std::vector<std::uint8_t> output;
    const auto streamed = lzfse::decodeTo(
        input,
        [&](std::span<const std::uint8_t> piece) {
            output.insert(output.end(), piece.begin(), piece.end());
        },
        2);
    if (streamed.has_value() != decoded.has_value()) std::abort();
    if (!streamed && streamed.error() != decoded.error()) std::abort();
    if (streamed && output != *decoded) std::abort();
    return 0;
}

// Any bytes given to the decoder come back as output or an error value, never a crash; the
// sized decoder on two threads agrees with the growing one.
#include "Lzfse/Lzfse.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span input(data, size);
    const auto decoded = lzfse::decode(input);
    if (!decoded) (void)lzfse::describe(decoded.error());
    const auto planned = lzfse::decodedSize(input);
    if (!planned || *planned > (std::size_t{64} << 20)) return 0;
    std::vector<std::uint8_t> output(*planned + lzfse::decodeSlack);
    const auto sized = lzfse::decodeInto(input, output, 2);
    if (sized.has_value() != decoded.has_value()) std::abort();
    if (!sized && sized.error() != decoded.error()) std::abort();
    if (sized && !std::equal(decoded->begin(), decoded->end(), output.begin())) std::abort();
    return 0;
}

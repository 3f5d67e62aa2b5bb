#include "Lzfse/Lzfse.hpp"

#include "Lzfse/Bytes.hpp"
#include "Lzfse/Format.hpp"
#include "Lzfse/LzvnEncoder.hpp"
#include "Lzfse/MatchFinder.hpp"

#include <memory>

namespace lzfse {

namespace {

/// Inputs shorter than this are stored; LZVN does not pay for them.
constexpr std::size_t minLzvnInput = 8;
/// Inputs from this size on are coded as LZFSE blocks, smaller ones with LZVN.
constexpr std::size_t minLzfseInput = 4096;

void putHeader(std::vector<std::uint8_t>& out, std::uint32_t magic,
               std::initializer_list<std::uint32_t> fields) {
    std::uint8_t bytes[4];
    store(bytes, magic);
    out.insert(out.end(), bytes, bytes + 4);
    for (const std::uint32_t field : fields) {
        store(bytes, field);
        out.insert(out.end(), bytes, bytes + 4);
    }
}

void putRawBlock(std::span<const std::uint8_t> input, std::vector<std::uint8_t>& out) {
    putHeader(out, format::rawMagic, {static_cast<std::uint32_t>(input.size())});
    out.insert(out.end(), input.begin(), input.end());
}

/// Writes an LZVN block, or a raw block when LZVN does not make the input smaller.
void putSmallInput(std::span<const std::uint8_t> input, std::vector<std::uint8_t>& out) {
    const std::size_t start = out.size();
    putHeader(out, format::lzvnMagic, {static_cast<std::uint32_t>(input.size()), 0});
    thread_local const auto lzvnEncoder = std::make_unique<LzvnEncoder>();
    lzvnEncoder->encode(input, out);
    const std::size_t payloadSize = out.size() - start - format::lzvnHeaderSize;
    if (payloadSize < input.size()) {
        store(out.data() + start + 8, static_cast<std::uint32_t>(payloadSize));
        return;
    }
    out.resize(start);
    putRawBlock(input, out);
}

} // namespace

void encode(std::span<const std::uint8_t> input, std::vector<std::uint8_t>& output) {
    output.clear();
    if (input.size() < minLzvnInput) {
        putRawBlock(input, output);
    } else if (input.size() < minLzfseInput) {
        putSmallInput(input, output);
    } else {
        // Kept per thread: its tables take half a megabyte and are costly to set up.
        thread_local const auto matchFinder = std::make_unique<MatchFinder>();
        matchFinder->encode(input, output);
    }
    putHeader(output, format::endOfStreamMagic, {});
}

std::vector<std::uint8_t> encode(std::span<const std::uint8_t> input) {
    std::vector<std::uint8_t> output;
    encode(input, output);
    return output;
}

} // namespace lzfse

#pragma once

#include "Lzfse/BlockHeader.hpp"
#include "Lzfse/BlockOutput.hpp"
#include "Lzfse/Format.hpp"
#include "Lzfse/Fse.hpp"
#include "Lzfse/Lzfse.hpp"

#include <array>
#include <cstdint>
#include <expected>
#include <span>

namespace lzfse {

/// Decodes LZFSE (v1 and v2) blocks in two steps: `unpack` entropy-decodes a block's literals
/// and triples and checks them all, `apply` writes its bytes. Only `apply` reads earlier
/// output, so blocks can be unpacked side by side and applied in order. One instance holds
/// one block at a time and serves every block of a stream.
class BlockDecoder {
public:
    /// Unpacks the payload that follows `header` in `block` (magic first, up to the end of
    /// the input), for a block that starts `written` bytes into the output. Returns the
    /// block's total size in the input.
    std::expected<std::size_t, Error>
    unpack(const BlockHeader& header, std::span<const std::uint8_t> block, std::uint64_t written);

    /// Writes the unpacked block's bytes at `dst`, which follows the `written` bytes of earlier
    /// output and has room for the block and outputSlack bytes more.
    void apply(std::uint8_t* dst) const;

private:
    /// One literal run and the match after it, with the distance resolved.
    struct Triple {
        std::uint32_t literals;
        std::uint32_t match;
        std::uint32_t distance;
    };

    bool decodeLiterals(const BlockHeader& header, const std::uint8_t* payload);
    std::expected<void, Error> decodeTriples(const BlockHeader& header, const std::uint8_t* payload,
                                             std::uint64_t written);

    std::array<fse::LiteralEntry, format::literalStates> literalTable_;
    std::array<fse::ValueEntry, format::lStates> lTable_;
    std::array<fse::ValueEntry, format::mStates> mTable_;
    std::array<fse::ValueEntry, format::dStates> dTable_;
    /// Decoded literals, with room for copies that run over in 16-byte chunks.
    std::array<std::uint8_t, format::maxLiteralCount + 64> literals_;
    std::array<Triple, format::maxMatchCount> triples_;
    std::uint32_t tripleCount_ = 0;
};

} // namespace lzfse

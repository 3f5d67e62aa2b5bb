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

/// Decodes LZFSE (v1 and v2) blocks; holds the tables and literal buffer they need, so one
/// instance serves every block of a stream.
class BlockDecoder {
public:
    /// Decodes the payload that follows `header` in `block` (magic first, up to the end of
    /// the input) into out, which has room for header.rawSize bytes. Returns the block's
    /// total size in the input.
    std::expected<std::size_t, Error> decode(const BlockHeader& header,
                                             std::span<const std::uint8_t> block, BlockOutput out);

private:
    bool decodeLiterals(const BlockHeader& header, const std::uint8_t* payload);
    std::expected<void, Error> decodeTriples(const BlockHeader& header, const std::uint8_t* payload,
                                             BlockOutput out);

    std::array<fse::LiteralEntry, format::literalStates> literalTable_;
    std::array<fse::ValueEntry, format::lStates> lTable_;
    std::array<fse::ValueEntry, format::mStates> mTable_;
    std::array<fse::ValueEntry, format::dStates> dTable_;
    /// Decoded literals, with room for copies that run over in 16-byte chunks.
    std::array<std::uint8_t, format::maxLiteralCount + 64> literals_;
};

} // namespace lzfse

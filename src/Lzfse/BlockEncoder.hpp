#pragma once

#include "Lzfse/BlockHeader.hpp"
#include "Lzfse/Format.hpp"
#include "Lzfse/Fse.hpp"

#include <array>
#include <cstdint>
#include <vector>

namespace lzfse {

/// One LZ77 step: L literals, then M bytes copied from distance D.
struct Triple {
    std::uint32_t l;
    std::uint32_t m;
    std::uint32_t d;
};

/// The triples and literal bytes of one block before entropy coding.
struct PendingBlock {
    std::vector<Triple> triples;
    /// Literals in order, with room for padding to a multiple of 4.
    std::vector<std::uint8_t> literals;
    std::size_t literalCount = 0;
    std::size_t rawSize = 0;

    PendingBlock() : literals(format::maxLiteralCount + 4) {
        triples.reserve(format::maxMatchCount);
    }
    bool empty() const { return triples.empty(); }
    void clear() {
        triples.clear();
        literalCount = 0;
        rawSize = 0;
    }
};

/// Entropy-codes pending blocks into v2 blocks; keeps its tables between blocks.
class BlockEncoder {
public:
    /// Appends the v2 block for `block` to out. Every triple's distance must be real (never
    /// 0) and reach no further back than the output before its match.
    void encode(PendingBlock& block, std::vector<std::uint8_t>& out);

private:
    void countSymbols(PendingBlock& block);
    std::size_t encodeLiterals(const PendingBlock& block, std::uint8_t* out);
    std::size_t encodeTriples(const PendingBlock& block, std::uint8_t* out);

    BlockHeader header_;
    std::vector<std::uint32_t> codedD_;
    std::array<std::uint32_t, format::lSymbols> lCounts_;
    std::array<std::uint32_t, format::mSymbols> mCounts_;
    std::array<std::uint32_t, format::dSymbols> dCounts_;
    std::array<std::uint32_t, format::literalSymbols> literalCounts_;
    std::array<fse::EncoderEntry, format::lSymbols> lTable_;
    std::array<fse::EncoderEntry, format::mSymbols> mTable_;
    std::array<fse::EncoderEntry, format::dSymbols> dTable_;
    std::array<fse::EncoderEntry, format::literalSymbols> literalTable_;
};

} // namespace lzfse

#pragma once

#include "Lzfse/BlockEncoder.hpp"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace lzfse {

/// The LZFSE front end: finds matches with a 4-byte hash table of recent positions, groups
/// the resulting triples into blocks and hands each full block to a BlockEncoder. Makes the
/// same choices as the reference encoder, so it reproduces its streams.
class MatchFinder {
public:
    /// `origin` offsets the stored positions; only tests pass one, to reach the renumbering
    /// that long-lived instances go through.
    explicit MatchFinder(std::int64_t origin = 0);

    /// Appends the v2 blocks for the whole input to out (no end-of-stream block). One
    /// instance may encode many inputs; each is coded on its own.
    void encode(std::span<const std::uint8_t> input, std::vector<std::uint8_t>& out);

private:
    struct Slot {
        std::int32_t position; // input position + origin_
        std::uint32_t value;
    };
    using Line = std::array<Slot, 4>;

    struct Match {
        std::size_t start;
        std::size_t source;
        std::size_t length;
    };

    struct Candidate {
        std::size_t length; // 0: none
        std::size_t source;
    };

    Candidate longestMatch(const Line& line, std::size_t p, std::uint32_t value) const;
    /// The last position from `p` on, up to `stop`, where `value` still repeats.
    std::size_t runEnd(std::size_t p, std::uint32_t value, std::size_t stop) const;
    void clearTable();
    void rebase();
    void emit(const Match& match);
    void emitLiterals(std::size_t count) {
        const std::size_t start = nextLiteral_ + count;
        emit({start, start - 1, 0});
    }
    void addTriple(std::uint32_t l, std::uint32_t m, std::uint32_t d);
    void closeBlock();

    std::vector<Line> table_;
    std::span<const std::uint8_t> input_;
    std::vector<std::uint8_t>* out_ = nullptr;
    std::int64_t origin_ = 0;
    std::size_t nextLiteral_ = 0;
    PendingBlock block_;
    BlockEncoder blockEncoder_;
};

} // namespace lzfse

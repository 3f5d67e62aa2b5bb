#include "Lzfse/MatchFinder.hpp"

#include "Lzfse/Bytes.hpp"
#include "Lzfse/Format.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>

namespace lzfse {

namespace {

constexpr unsigned hashBits = 14;
/// Far enough back that no position in the table can match from it.
constexpr std::int32_t invalidPosition = -4 * static_cast<std::int32_t>(format::maxD);
/// A match at least this long is taken at once, without looking for a better one.
constexpr std::size_t goodEnoughLength = 40;
constexpr std::size_t maxMatchLength = std::size_t{100} * format::maxM;
/// Literal bytes allowed to pile up before they are sent as a literal-only triple.
constexpr std::size_t maxLiteralBacklog = std::size_t{8} * format::maxL;
/// Block limits, kept with the reference encoder's safety margins.
constexpr std::size_t tripleMargin = 8;
constexpr std::size_t literalMargin = 16;
/// Positions are stored as 32-bit values p + origin_, moved down before they could overflow.
constexpr std::int64_t rebaseThreshold = std::int64_t{1} << 30;
constexpr std::int32_t rebaseStep = std::int32_t{1} << 29;
constexpr std::size_t prefetchDistance = 8;

inline std::uint32_t hashOf(std::uint32_t value) {
    return (value * 2654435761u) >> (32 - hashBits);
}

} // namespace

MatchFinder::MatchFinder(std::int64_t origin) : table_(std::size_t{1} << hashBits) {
    clearTable();
    origin_ = origin;
}

void MatchFinder::clearTable() {
    std::fill(table_.begin(), table_.end(),
              Line{{{invalidPosition, 0},
                    {invalidPosition, 0},
                    {invalidPosition, 0},
                    {invalidPosition, 0}}});
    origin_ = 0;
}

void MatchFinder::encode(std::span<const std::uint8_t> input, std::vector<std::uint8_t>& out) {
    // Instead of clearing the table, the positions of this input start further than the
    // longest distance after those of the previous one, so old entries never match.
    if (origin_ >= rebaseThreshold) clearTable();
    input_ = input;
    out_ = &out;
    nextLiteral_ = 0;
    block_.clear();

    const std::size_t n = input.size();
    const std::uint8_t* in = input.data();
    std::optional<Match> pending;
    for (std::size_t p = 0; p + 8 < n; ++p) {
        if (static_cast<std::int64_t>(p) + origin_ >= rebaseThreshold) rebase();
        // The table is far larger than the first-level cache: fetch a later line early.
        if (p + prefetchDistance + 8 < n)
            __builtin_prefetch(&table_[hashOf(load32(in + p + prefetchDistance))], 1);
        const std::uint32_t x = load32(in + p);
        Line& line = table_[hashOf(x)];
        if (p < nextLiteral_ && line[0].value == x &&
            line[0].position == static_cast<std::int64_t>(p) + origin_ - 1) {
            const std::size_t last = runEnd(p, x, std::min(n - 9, nextLiteral_ - 1));
            if (last >= p + 3) {
                // Inside a match, a run of one repeated value only shifts this one line: write
                // the line the run leaves instead of shifting it once per byte.
                for (std::size_t k = 0; k < 4; ++k)
                    line[k] = {
                        static_cast<std::int32_t>(static_cast<std::int64_t>(last - k) + origin_),
                        x};
                p = last;
                continue;
            }
        }
        const Line old = line;
        line = {Slot{static_cast<std::int32_t>(static_cast<std::int64_t>(p) + origin_), x}, old[0],
                old[1], old[2]};
        if (p < nextLiteral_) continue;

        const Candidate found = longestMatch(old, p, x);
        if (found.length == 0) {
            if (p - nextLiteral_ > maxLiteralBacklog) {
                if (pending) {
                    emit(*pending);
                    pending.reset();
                } else {
                    emitLiterals(format::maxL);
                }
            }
            continue;
        }

        Match candidate{p, found.source, std::min(found.length, maxMatchLength)};
        while (candidate.start > nextLiteral_ && candidate.source > 0 &&
               in[candidate.start - 1] == in[candidate.source - 1]) {
            --candidate.start;
            --candidate.source;
            ++candidate.length;
        }

        if (candidate.length >= goodEnoughLength) {
            emit(candidate);
            pending.reset();
        } else if (!pending) {
            pending = candidate;
        } else if (pending->start + pending->length <= candidate.start) {
            emit(*pending);
            pending = candidate;
        } else {
            emit(candidate.length > pending->length ? candidate : *pending);
            pending.reset();
        }
    }

    if (pending) emit(*pending);
    if (nextLiteral_ < n) emitLiterals(n - nextLiteral_);
    if (!block_.empty()) closeBlock();
    origin_ += static_cast<std::int64_t>(n + format::maxD + 1);
}

std::size_t MatchFinder::runEnd(std::size_t p, std::uint32_t value, std::size_t stop) const {
    // Never past a renumbering of the table, which must see its position.
    const auto beforeRebase = static_cast<std::size_t>(rebaseThreshold - origin_ - 1);
    stop = std::min(stop, beforeRebase);
    const std::uint8_t* in = input_.data();
    std::size_t last = p;
    // Four positions at a time: the value repeats at each while the bytes keep a period of 4.
    if (last >= 3) {
        while (last + 4 <= stop && load64(in + last + 1) == load64(in + last - 3))
            last += 4;
    }
    while (last < stop && load32(in + last + 1) == value)
        ++last;
    return last;
}

MatchFinder::Candidate MatchFinder::longestMatch(const Line& line, std::size_t p,
                                                 std::uint32_t value) const {
    const std::uint8_t* in = input_.data();
    // A match is cut at the longest encodable length anyway: looking further would make long
    // repeats cost the square of their length.
    const std::size_t limit = std::min(input_.size() - p - 8, maxMatchLength);
    Candidate best{0, 0};
    for (const Slot& slot : line) {
        if (slot.value != value) continue;
        const std::int64_t r = slot.position - origin_;
        if (r + static_cast<std::int64_t>(format::maxD) < static_cast<std::int64_t>(p)) continue;
        const auto source = static_cast<std::size_t>(r);
        std::size_t length = 4;
        while (length < limit) {
            const std::uint64_t diff = load64(in + source + length) ^ load64(in + p + length);
            if (diff != 0) {
                length += static_cast<std::size_t>(std::countr_zero(diff)) / 8;
                break;
            }
            length += 8;
        }
        if (length > best.length) best = {length, source};
    }
    return best;
}

void MatchFinder::rebase() {
    for (Line& line : table_)
        for (Slot& slot : line)
            slot.position = std::max(invalidPosition - rebaseStep, slot.position - rebaseStep);
    origin_ -= rebaseStep;
}

void MatchFinder::emit(const Match& match) {
    std::uint32_t l = static_cast<std::uint32_t>(match.start - nextLiteral_);
    std::uint32_t m = static_cast<std::uint32_t>(match.length);
    const auto d = static_cast<std::uint32_t>(match.start - match.source);

    // The whole match goes into one block: close the current one if its parts do not fit.
    const std::size_t literalParts = l > format::maxL ? (l - 1) / format::maxL : 0;
    const std::size_t matchParts = m > format::maxM ? (m - 1) / format::maxM : 0;
    const std::uint32_t lastL = l - static_cast<std::uint32_t>(literalParts * format::maxL);
    const std::uint32_t lastM = m - static_cast<std::uint32_t>(matchParts * format::maxM);
    const std::size_t parts =
        literalParts + matchParts + ((matchParts == 0 ? lastL : 0) > 0 || lastM > 0 ? 1 : 0);
    if (block_.triples.size() + parts + tripleMargin > format::maxMatchCount ||
        block_.literalCount + l + literalMargin > format::maxLiteralCount)
        closeBlock();

    while (l > format::maxL) {
        addTriple(format::maxL, 0, 1);
        l -= format::maxL;
    }
    while (m > format::maxM) {
        addTriple(l, format::maxM, d);
        l = 0;
        m -= format::maxM;
    }
    if (l > 0 || m > 0) addTriple(l, m, d);
}

void MatchFinder::addTriple(std::uint32_t l, std::uint32_t m, std::uint32_t d) {
    block_.triples.push_back({l, m, d});
    std::memcpy(block_.literals.data() + block_.literalCount, input_.data() + nextLiteral_, l);
    block_.literalCount += l;
    block_.rawSize += l + m;
    nextLiteral_ += l + m;
}

void MatchFinder::closeBlock() {
    blockEncoder_.encode(block_, *out_);
    block_.clear();
}

} // namespace lzfse

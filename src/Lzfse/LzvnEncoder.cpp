#include "Lzfse/LzvnEncoder.hpp"

#include "Lzfse/Bytes.hpp"

#include <algorithm>
#include <bit>
#include <optional>

namespace lzfse {

namespace {

constexpr unsigned hashBits = 14;
constexpr std::size_t maxDistance = 65535;
/// Distances below this fit the two-byte small-distance opcode.
constexpr std::size_t smallDistanceLimit = 1536;
/// Distances below this fit the three-byte medium-distance opcode (with M up to 34).
constexpr std::size_t mediumDistanceLimit = 16384;
constexpr std::size_t maxMediumLength = 34;
constexpr std::size_t maxLiteralBacklog = 400;
constexpr std::size_t longRun = 271; // longest long-literal or long-match run
constexpr std::size_t shortRun = 15; // longest short-literal or short-match run

constexpr std::uint8_t longLiteral = 0xE0;
constexpr std::uint8_t shortLiteral = 0xE0;
constexpr std::uint8_t longMatch = 0xF0;
constexpr std::uint8_t shortMatch = 0xF0;
constexpr std::uint8_t mediumDistance = 0xA0;
constexpr std::uint8_t previousDistance = 6;
constexpr std::uint8_t largeDistance = 7;
constexpr std::uint8_t endOpcode = 6;

inline std::uint32_t hashOf(std::uint32_t value) {
    return (((value & 0xFFFFFF) * 4161u) >> 12) & ((1u << hashBits) - 1);
}

/// Number of equal low-order bytes of two 4-byte values (0 to 4).
inline unsigned equalBytes(std::uint32_t a, std::uint32_t b) {
    const std::uint32_t diff = a ^ b;
    return diff == 0 ? 4 : static_cast<unsigned>(std::countr_zero(diff)) / 8;
}

/// Whether `candidate` should replace `best` (an empty best has score 0 and end 0).
inline bool better(long score, std::size_t end, long bestScore, std::size_t bestEnd) {
    return score > bestScore || (score == bestScore && end > bestEnd + 1);
}

} // namespace

LzvnEncoder::LzvnEncoder() : table_(std::size_t{1} << hashBits) {}

void LzvnEncoder::encode(std::span<const std::uint8_t> input, std::vector<std::uint8_t>& out) {
    input_ = input;
    out_ = &out;
    nextLiteral_ = 0;
    previousD_ = 0;
    const std::uint8_t* in = input.data();
    const std::uint32_t first = load32(in);
    std::fill(table_.begin(), table_.end(), Line{{{0, first}, {0, first}, {0, first}, {0, first}}});

    const std::size_t n = input.size();
    std::optional<Match> pending;
    for (std::size_t i = 0; i + 8 < n; ++i) {
        const std::uint32_t v = load32(in + i);
        Line& line = table_[hashOf(v)];
        const Line old = line;
        line = {Slot{static_cast<std::uint32_t>(i), v}, old[0], old[1], old[2]};
        if (i < nextLiteral_) continue;

        std::optional<Match> best;
        long bestScore = 0;
        std::size_t bestEnd = 0;
        const auto consider = [&](const Match& m) {
            if (!better(m.score, m.end, bestScore, bestEnd)) return;
            best = m;
            bestScore = m.score;
            bestEnd = m.end;
        };
        for (const Slot& slot : old) {
            const unsigned equal = equalBytes(slot.value, v);
            const std::size_t distance = i - slot.position;
            if (equal < 3 || slot.position >= i || distance > maxDistance) continue;
            Match m = extended(i, equal, distance);
            m.score = static_cast<long>(m.end - m.start) - (distance < smallDistanceLimit ? 2 : 3);
            consider(m);
        }
        if (previousD_ != 0) {
            const unsigned equal = equalBytes(load32(in + i - previousD_), v);
            if (equal >= 3) {
                Match m = extended(i, equal, previousD_);
                m.score = static_cast<long>(m.end - m.start) - 1;
                consider(m);
            }
        }

        if (!best) {
            if (i - nextLiteral_ >= maxLiteralBacklog) {
                if (pending) {
                    emit(*pending);
                    pending.reset();
                } else {
                    emitLiterals(longRun);
                }
            }
            continue;
        }
        if (!pending) {
            pending = best;
        } else if (pending->end <= best->start) {
            emit(*pending);
            pending = best;
        } else {
            emit(best->score > pending->score ? *best : *pending);
            pending.reset();
        }
    }

    // The reference drops a match still pending here and sends the tail as literals.
    std::size_t rest = n - nextLiteral_;
    while (rest > shortRun) {
        const std::size_t count = std::min(rest, longRun);
        emitLiterals(count);
        rest -= count;
    }
    if (rest > 0) emitLiterals(rest);
    put(endOpcode);
    out.insert(out.end(), 7, 0);
}

LzvnEncoder::Match LzvnEncoder::extended(std::size_t i, unsigned equal,
                                         std::size_t distance) const {
    const std::uint8_t* in = input_.data();
    const std::size_t n = input_.size();
    Match m{i, i + equal, distance, 0};
    while (equal == 4 && m.end + 4 < n) {
        equal = equalBytes(load32(in + m.end), load32(in + m.end - distance));
        m.end += equal;
    }
    std::size_t source = i - distance;
    while (source > 0 && m.start > nextLiteral_ && in[m.start - 1] == in[source - 1]) {
        --m.start;
        --source;
    }
    return m;
}

void LzvnEncoder::emitLiterals(std::size_t count) {
    if (count > shortRun) {
        put(longLiteral);
        put(static_cast<std::uint8_t>(count - 16));
    } else {
        put(static_cast<std::uint8_t>(shortLiteral | count));
    }
    putLiteralBytes(count);
}

void LzvnEncoder::putLiteralBytes(std::size_t count) {
    const std::uint8_t* from = input_.data() + nextLiteral_;
    out_->insert(out_->end(), from, from + count);
    nextLiteral_ += count;
}

void LzvnEncoder::emit(const Match& match) {
    std::size_t l = match.start - nextLiteral_;
    while (l > shortRun) {
        const std::size_t count = std::min(l, longRun);
        emitLiterals(count);
        l -= count;
    }
    if (l > 3) {
        emitLiterals(l);
        l = 0;
    }
    const std::size_t d = match.distance;
    const std::size_t m = match.end - match.start;
    const std::size_t m1 = std::min(m, 10 - 2 * l);
    std::size_t rest = m - m1;
    const auto lm = static_cast<std::uint8_t>(l << 6 | (m1 - 3) << 3);
    if (d == previousD_) {
        put(l == 0 ? static_cast<std::uint8_t>(shortMatch | m1) : lm | previousDistance);
    } else if (d < smallDistanceLimit) {
        put(static_cast<std::uint8_t>(lm | d >> 8));
        put(static_cast<std::uint8_t>(d));
    } else if (d >= mediumDistanceLimit || rest == 0 || m > maxMediumLength) {
        put(lm | largeDistance);
        put(static_cast<std::uint8_t>(d));
        put(static_cast<std::uint8_t>(d >> 8));
    } else {
        put(static_cast<std::uint8_t>(mediumDistance | l << 3 | (m - 3) >> 2));
        const std::size_t w = d << 2 | ((m - 3) & 3);
        put(static_cast<std::uint8_t>(w));
        put(static_cast<std::uint8_t>(w >> 8));
        rest = 0;
    }
    putLiteralBytes(l);
    while (rest > shortRun) {
        const std::size_t count = std::min(rest, longRun);
        put(longMatch);
        put(static_cast<std::uint8_t>(count - 16));
        rest -= count;
    }
    if (rest > 0) put(static_cast<std::uint8_t>(shortMatch | rest));
    previousD_ = d;
    nextLiteral_ = match.end;
}

} // namespace lzfse

#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace lzfse {

/// Encodes small inputs as an LZVN payload, making the same choices as the reference encoder.
class LzvnEncoder {
public:
    LzvnEncoder();

    /// Appends the LZVN payload for input (at least 8 bytes), end opcode included, to out.
    void encode(std::span<const std::uint8_t> input, std::vector<std::uint8_t>& out);

private:
    struct Slot {
        std::uint32_t position;
        std::uint32_t value;
    };
    using Line = std::array<Slot, 4>;

    struct Match {
        std::size_t start = 0;
        std::size_t end = 0;
        std::size_t distance = 0;
        long score = 0;
    };

    Match extended(std::size_t i, unsigned equal, std::size_t distance) const;
    void emit(const Match& match);
    void emitLiterals(std::size_t count);
    void put(std::uint8_t byte) { out_->push_back(byte); }
    void putLiteralBytes(std::size_t count);

    std::vector<Line> table_;
    std::span<const std::uint8_t> input_;
    std::vector<std::uint8_t>* out_ = nullptr;
    std::size_t nextLiteral_ = 0;
    std::size_t previousD_ = 0;
};

} // namespace lzfse

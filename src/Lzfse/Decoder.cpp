#include "Lzfse/Lzfse.hpp"

#include "Lzfse/BlockDecoder.hpp"
#include "Lzfse/BlockHeader.hpp"
#include "Lzfse/Bytes.hpp"
#include "Lzfse/Format.hpp"
#include "Lzfse/LzvnDecoder.hpp"

#include <memory>

namespace lzfse {

namespace {

/// An LZVN opcode of two bytes produces at most 271 bytes.
constexpr std::uint64_t maxLzvnExpansion = 136;

/// Decodes a stream block by block into one growing buffer, which also serves as the
/// history that matches copy from.
class StreamDecoder {
public:
    StreamDecoder(std::span<const std::uint8_t> input, std::vector<std::uint8_t>& output)
        : input_(input), output_(output) {}

    std::expected<void, Error> run() {
        output_.clear();
        for (;;) {
            if (input_.empty()) return std::unexpected(Error::missingEndOfStream);
            if (input_.size() < 4) return std::unexpected(Error::truncated);
            const std::uint32_t magic = load32(input_.data());
            if (magic == format::endOfStreamMagic) break;
            const auto consumed = block(magic);
            if (!consumed) {
                output_.resize(size_);
                return std::unexpected(consumed.error());
            }
            input_ = input_.subspan(*consumed);
        }
        output_.resize(size_);
        return {};
    }

private:
    /// Decodes the block at the front of the input; returns its size.
    std::expected<std::size_t, Error> block(std::uint32_t magic) {
        switch (magic) {
        case format::rawMagic:
            return rawBlock();
        case format::lzvnMagic:
            return lzvnBlock();
        case format::v1Magic:
            return lzfseBlock(readV1Header(input_));
        case format::v2Magic:
            return lzfseBlock(readV2Header(input_));
        default:
            return std::unexpected(Error::badBlockMagic);
        }
    }

    std::expected<std::size_t, Error> rawBlock() {
        if (input_.size() < format::rawHeaderSize) return std::unexpected(Error::truncated);
        const std::uint32_t rawSize = load32(input_.data() + 4);
        if (rawSize > input_.size() - format::rawHeaderSize)
            return std::unexpected(Error::truncated);
        const BlockOutput out = reserve(rawSize);
        std::memcpy(out.cursor, input_.data() + format::rawHeaderSize, rawSize);
        size_ += rawSize;
        return format::rawHeaderSize + rawSize;
    }

    std::expected<std::size_t, Error> lzvnBlock() {
        if (input_.size() < format::lzvnHeaderSize) return std::unexpected(Error::truncated);
        const std::uint32_t rawSize = load32(input_.data() + 4);
        const std::uint32_t payloadSize = load32(input_.data() + 8);
        if (payloadSize > input_.size() - format::lzvnHeaderSize)
            return std::unexpected(Error::truncated);
        if (rawSize > payloadSize * maxLzvnExpansion) return std::unexpected(Error::badHeader);
        const auto decoded =
            decodeLzvn(input_.subspan(format::lzvnHeaderSize, payloadSize), reserve(rawSize));
        if (!decoded) return std::unexpected(decoded.error());
        size_ += rawSize;
        return format::lzvnHeaderSize + payloadSize;
    }

    std::expected<std::size_t, Error> lzfseBlock(const std::expected<BlockHeader, Error>& header) {
        if (!header) return std::unexpected(header.error());
        if (!blockDecoder_) blockDecoder_ = std::make_unique<BlockDecoder>();
        const auto consumed = blockDecoder_->decode(*header, input_, reserve(header->rawSize));
        if (consumed) size_ += header->rawSize;
        return consumed;
    }

    /// Makes room for a block of `count` bytes after the output so far.
    BlockOutput reserve(std::size_t count) {
        output_.resize(size_ + count + outputSlack);
        std::uint8_t* begin = output_.data();
        return {begin, begin + size_, begin + size_ + count};
    }

    std::span<const std::uint8_t> input_;
    std::vector<std::uint8_t>& output_;
    std::size_t size_ = 0;
    std::unique_ptr<BlockDecoder> blockDecoder_;
};

} // namespace

std::expected<void, Error> decode(std::span<const std::uint8_t> input,
                                  std::vector<std::uint8_t>& output) {
    return StreamDecoder(input, output).run();
}

std::expected<std::vector<std::uint8_t>, Error> decode(std::span<const std::uint8_t> input) {
    std::vector<std::uint8_t> output;
    if (auto result = decode(input, output); !result) return std::unexpected(result.error());
    return output;
}

std::string_view describe(Error error) {
    switch (error) {
    case Error::truncated:
        return "the stream ends inside a block";
    case Error::missingEndOfStream:
        return "the stream ends without an end-of-stream block";
    case Error::badBlockMagic:
        return "a block starts with an unknown magic";
    case Error::badHeader:
        return "a block header holds out-of-range fields";
    case Error::badTable:
        return "a frequency table is malformed";
    case Error::badBitStream:
        return "an entropy-coded payload is corrupt";
    case Error::badLzvnOpcode:
        return "an LZVN payload holds an invalid opcode";
    case Error::badDistance:
        return "a match reaches before the start of the output";
    case Error::outputOverflow:
        return "a block produces more bytes than it declares";
    case Error::outputUnderflow:
        return "a block produces fewer bytes than it declares";
    }
    return "unknown LZFSE error";
}

} // namespace lzfse

#include "Lzfse/Lzfse.hpp"

#include "Lzfse/BlockDecoder.hpp"
#include "Lzfse/BlockHeader.hpp"
#include "Lzfse/Bytes.hpp"
#include "Lzfse/Format.hpp"
#include "Lzfse/LzvnDecoder.hpp"

#include <atomic>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

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
        const auto consumed = blockDecoder_->unpack(*header, input_, size_);
        if (!consumed) return consumed;
        blockDecoder_->apply(reserve(header->rawSize).cursor);
        size_ += header->rawSize;
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

/// Where a block lies in the input and in the output, as its header tells.
struct PlannedBlock {
    std::uint32_t magic;
    std::uint32_t rawSize;
    std::size_t input;    ///< offset of its magic
    std::uint64_t output; ///< offset of its first output byte
};

/// The size of the block at the front of `rest`; no value when its fixed header or its payload
/// would lie outside `rest`, or when it claims more output than its kind can produce.
std::optional<std::size_t> blockSize(std::uint32_t magic, std::span<const std::uint8_t> rest) {
    const std::uint8_t* p = rest.data();
    std::uint64_t size = 0;
    std::uint64_t maxRawSize = 0;
    switch (magic) {
    case format::rawMagic:
        if (rest.size() < format::rawHeaderSize) return std::nullopt;
        size = format::rawHeaderSize + std::uint64_t{load32(p + 4)};
        maxRawSize = size;
        break;
    case format::lzvnMagic:
        if (rest.size() < format::lzvnHeaderSize) return std::nullopt;
        size = format::lzvnHeaderSize + std::uint64_t{load32(p + 8)};
        maxRawSize = load32(p + 8) * maxLzvnExpansion;
        break;
    case format::v1Magic:
        if (rest.size() < format::v1HeaderSize) return std::nullopt;
        size = format::v1HeaderSize + std::uint64_t{load32(p + 20)} + load32(p + 24);
        maxRawSize = format::maxLiteralCount + std::uint64_t{format::maxMatchCount} * format::maxM;
        break;
    case format::v2Magic: {
        if (rest.size() < format::v2FixedHeaderSize) return std::nullopt;
        const std::uint64_t headerSize = load64(p + 24) & 0xFFFF'FFFF;
        if (headerSize < format::v2FixedHeaderSize) return std::nullopt; // it would not advance
        const std::uint64_t p0 = load64(p + 8);
        const std::uint64_t p1 = load64(p + 16);
        size = headerSize + ((p0 >> 20) & 0xFFFFF) + ((p1 >> 40) & 0xFFFFF);
        maxRawSize = format::maxLiteralCount + std::uint64_t{format::maxMatchCount} * format::maxM;
        break;
    }
    default:
        return std::nullopt;
    }
    if (size > rest.size() || load32(p + 4) > maxRawSize) return std::nullopt;
    return static_cast<std::size_t>(size);
}

/// Every block's place, up to the end-of-stream block; no value when the headers do not
/// chain up to one.
std::optional<std::vector<PlannedBlock>> plan(std::span<const std::uint8_t> input) {
    std::vector<PlannedBlock> blocks;
    std::size_t at = 0;
    std::uint64_t output = 0;
    for (;;) {
        if (input.size() - at < 4) return std::nullopt;
        const std::uint32_t magic = load32(input.data() + at);
        if (magic == format::endOfStreamMagic) return blocks;
        const auto size = blockSize(magic, input.subspan(at));
        if (!size) return std::nullopt;
        const std::uint32_t rawSize = load32(input.data() + at + 4);
        blocks.push_back({magic, rawSize, at, output});
        at += *size;
        output += rawSize;
    }
}

std::uint64_t totalSize(const std::vector<PlannedBlock>& blocks) {
    return blocks.empty() ? 0 : blocks.back().output + blocks.back().rawSize;
}

/// Decodes planned blocks into a window that keeps the history matches may reach and hands
/// older bytes to the sink, so the output never lives in memory whole.
///
/// The calling thread writes the blocks in stream order and reports the first fault, as the
/// serial decoder does. Unpacking a block needs no earlier output, so a helper thread unpacks
/// blocks ahead into a few slots. The writer never waits for a helper that the system has set
/// aside: when its next block is not ready it unpacks the next unclaimed one itself, and it
/// waits only when every slot ahead is taken.
class PlannedDecoder {
public:
    PlannedDecoder(std::span<const std::uint8_t> input, std::vector<PlannedBlock> blocks,
                   const Sink& sink)
        : input_(input), blocks_(std::move(blocks)), sink_(sink) {
        std::uint64_t largest = 0;
        for (const PlannedBlock& block : blocks_)
            largest = std::max<std::uint64_t>(largest, block.rawSize);
        const std::uint64_t wanted = std::max(preferredWindow, format::maxD + largest);
        windowSize_ = static_cast<std::size_t>(std::min(wanted, totalSize(blocks_))) + outputSlack;
        window_ = std::make_unique_for_overwrite<std::uint8_t[]>(windowSize_);
        slots_ = std::make_unique_for_overwrite<Slot[]>(slotCount);
    }

    /// The thread that unpacks ahead, or none when there is no thread to be had: the writer
    /// then does it all.
    std::jthread startHelper() {
        try {
            return std::jthread([this] { unpackAhead(); });
        } catch (const std::system_error&) {
            return {};
        }
    }

    std::expected<void, Error> run(unsigned threads) {
        std::expected<void, Error> result;
        {
            std::jthread helper = threads >= 2 ? startHelper() : std::jthread();
            // Destroyed before the helper is joined, even when the sink throws.
            const struct Release {
                std::atomic<std::size_t>& written;
                ~Release() {
                    written.store(stopped);
                    written.notify_all();
                }
            } release{written_};
            result = writeAll();
        }
        if (result && cursor_ > 0) sink_({window_.get(), cursor_});
        return result;
    }

private:
    static constexpr std::size_t stopped = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t slotCount = 4;
    /// Large enough that sliding the history down is rare, small enough to stay in cache.
    static constexpr std::uint64_t preferredWindow = std::uint64_t{4} << 20;

    struct Slot {
        BlockDecoder decoder;
        std::expected<std::size_t, Error> unpacked = 0;
        std::atomic<std::size_t> ready{stopped}; ///< the block whose unpacking the slot holds
    };

    /// The helper: claims blocks in order and unpacks each once its slot is free.
    void unpackAhead() {
        for (;;) {
            const std::size_t k = claimed_.fetch_add(1);
            if (k >= blocks_.size()) return;
            for (std::size_t written = written_.load(); k >= written + slotCount;
                 written = written_.load()) {
                if (written == stopped) return;
                written_.wait(written);
            }
            if (written_.load() == stopped) return;
            unpack(k);
        }
    }

    /// The writer: each block in order, unpacking unclaimed blocks itself while it would wait.
    std::expected<void, Error> writeAll() {
        for (std::size_t k = 0; k < blocks_.size(); ++k) {
            Slot& slot = slots_[k % slotCount];
            for (std::size_t held = slot.ready.load(); held != k; held = slot.ready.load()) {
                std::size_t next = claimed_.load();
                // Slots of blocks up to k + slotCount - 1 are free: blocks before k are written.
                if (next < blocks_.size() && next < k + slotCount &&
                    claimed_.compare_exchange_strong(next, next + 1))
                    unpack(next);
                else if (next > k)
                    slot.ready.wait(held); // the helper is unpacking block k
            }
            if (!slot.unpacked) return std::unexpected(slot.unpacked.error());
            if (const auto done = write(blocks_[k], slot.decoder); !done) return done;
            written_.store(k + 1);
            written_.notify_all();
        }
        return {};
    }

    void unpack(std::size_t k) {
        Slot& slot = slots_[k % slotCount];
        const PlannedBlock& block = blocks_[k];
        slot.unpacked = 0;
        if (block.magic == format::v2Magic || block.magic == format::v1Magic) {
            const std::span<const std::uint8_t> rest = input_.subspan(block.input);
            const auto header =
                block.magic == format::v2Magic ? readV2Header(rest) : readV1Header(rest);
            if (header)
                slot.unpacked = slot.decoder.unpack(*header, rest, block.output);
            else
                slot.unpacked = std::unexpected(header.error());
        }
        slot.ready.store(k);
        slot.ready.notify_all();
    }

    /// Writes the block's bytes after every block before it.
    std::expected<void, Error> write(const PlannedBlock& block, const BlockDecoder& decoder) {
        makeRoom(block.rawSize);
        std::uint8_t* const begin = window_.get();
        std::uint8_t* const cursor = begin + cursor_;
        const std::uint8_t* header = input_.data() + block.input;
        switch (block.magic) {
        case format::rawMagic:
            std::memcpy(cursor, header + format::rawHeaderSize, block.rawSize);
            break;
        case format::lzvnMagic: {
            // The window holds all the output or more history than an LZVN distance reaches,
            // so checking distances against its start is checking them against the output's.
            const std::uint32_t payloadSize = load32(header + 8);
            const auto decoded = decodeLzvn({header + format::lzvnHeaderSize, payloadSize},
                                            {begin, cursor, cursor + block.rawSize});
            if (!decoded) return decoded;
            break;
        }
        default:
            decoder.apply(cursor);
        }
        cursor_ += block.rawSize;
        return {};
    }

    /// Hands bytes beyond the history to the sink and slides the rest down when the window
    /// cannot take `size` more bytes and their slack.
    void makeRoom(std::size_t size) {
        if (cursor_ + size + outputSlack <= windowSize_) return;
        const std::size_t keep = std::min<std::size_t>(cursor_, format::maxD);
        sink_({window_.get(), cursor_ - keep});
        std::memmove(window_.get(), window_.get() + cursor_ - keep, keep);
        cursor_ = keep;
    }

    std::span<const std::uint8_t> input_;
    std::vector<PlannedBlock> blocks_;
    const Sink& sink_;
    std::size_t windowSize_ = 0;
    std::unique_ptr<std::uint8_t[]> window_;
    std::size_t cursor_ = 0; ///< bytes in the window
    std::unique_ptr<Slot[]> slots_;
    std::atomic<std::size_t> claimed_{0}; ///< blocks handed out for unpacking
    /// Blocks written so far, or `stopped` once the writer is done.
    std::atomic<std::size_t> written_{0};
};

} // namespace

std::expected<std::uint64_t, Error> decodedSize(std::span<const std::uint8_t> input) {
    const auto blocks = plan(input);
    if (!blocks) return std::unexpected(Error::truncated);
    return totalSize(*blocks);
}

std::expected<void, Error> decodeTo(std::span<const std::uint8_t> input, const Sink& sink,
                                    unsigned threads) {
    auto blocks = plan(input);
    if (!blocks) {
        // The serial decoder names the first fault exactly.
        std::vector<std::uint8_t> scratch;
        const auto decoded = decode(input, scratch);
        return std::unexpected(decoded ? Error::truncated : decoded.error());
    }
    // A thread pays off only over blocks enough to keep both busy.
    constexpr std::size_t blocksPerThread = 4;
    if (blocks->size() < 2 * blocksPerThread) threads = 1;
    return PlannedDecoder(input, std::move(*blocks), sink).run(threads);
}

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

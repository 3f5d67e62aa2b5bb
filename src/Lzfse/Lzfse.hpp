#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

namespace lzfse {

/// Why a stream could not be decoded.
enum class Error {
    truncated,          ///< the input ends inside a block
    missingEndOfStream, ///< the input ends between blocks, without the end-of-stream block
    badBlockMagic,      ///< a block starts with an unknown magic
    badHeader,          ///< a block header holds out-of-range counts, states or sizes
    badTable,           ///< a frequency table is malformed or does not sum to its state count
    badBitStream,       ///< an entropy-coded payload is inconsistent with its header
    badLzvnOpcode,      ///< an LZVN payload holds an undefined opcode or a misplaced end
    badDistance,        ///< a match refers to bytes before the start of the output
    outputOverflow,     ///< a block produces more bytes than its header declares
    outputUnderflow,    ///< a block produces fewer bytes than its header declares
};

/// The number of bytes a stream decodes to, read from its block headers alone (their
/// payloads are not checked); an error when the blocks do not chain up to an end-of-stream
/// block inside the input.
std::expected<std::uint64_t, Error> decodedSize(std::span<const std::uint8_t> input);

/// Takes a stream's output in order, a piece at a time; a piece is valid during the call only.
using Sink = std::function<void(std::span<const std::uint8_t>)>;

/// Decompresses a whole stream and hands its bytes to `sink` in pieces, keeping only a few
/// megabytes of it in memory. With `threads` 2, a helper thread entropy-decodes blocks ahead
/// while the calling thread writes them in order (the sink is called on the calling thread
/// only). The bytes, and the fault reported for a bad stream, are the same as decode()'s; on
/// a fault the sink may have had part of the output.
std::expected<void, Error> decodeTo(std::span<const std::uint8_t> input, const Sink& sink,
                                    unsigned threads = 1);

/// One short English line describing the error.
std::string_view describe(Error error);

/// Compresses the input into a standard LZFSE stream.
std::vector<std::uint8_t> encode(std::span<const std::uint8_t> input);

/// Compresses the input into `output`, replacing its contents but keeping its capacity.
void encode(std::span<const std::uint8_t> input, std::vector<std::uint8_t>& output);

/// Decompresses a whole LZFSE stream; bytes after its end-of-stream block are ignored.
std::expected<std::vector<std::uint8_t>, Error> decode(std::span<const std::uint8_t> input);

/// Decompresses into `output`, replacing its contents but keeping its capacity. On failure
/// `output` holds whatever was decoded before the fault.
std::expected<void, Error> decode(std::span<const std::uint8_t> input,
                                  std::vector<std::uint8_t>& output);

} // namespace lzfse

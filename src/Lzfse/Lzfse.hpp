#pragma once

#include <cstdint>
#include <expected>
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

/// Writable bytes decodeInto() needs after the decoded ones, where its copies run over.
inline constexpr std::size_t decodeSlack = 32;

/// The number of bytes a stream decodes to, read from its block headers alone (their
/// payloads are not checked); an error when the blocks do not chain up to an end-of-stream
/// block inside the input.
std::expected<std::size_t, Error> decodedSize(std::span<const std::uint8_t> input);

/// Decompresses a whole stream into `output`, which holds decodedSize(input) + decodeSlack
/// bytes (the slack's contents are left undefined). With `threads` 2, one thread entropy-decodes
/// a block while the other copies the previous block's matches; the result, and the fault
/// reported for a bad stream, are the same as decode()'s.
std::expected<void, Error> decodeInto(std::span<const std::uint8_t> input,
                                      std::span<std::uint8_t> output, unsigned threads = 1);

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

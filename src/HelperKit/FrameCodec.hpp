#pragma once

#include "HelperKit/HelperMessage.hpp"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace helperkit {

/// The largest batch a helper may be asked to send, so that the largest frame stays bounded.
inline constexpr std::size_t maxBatchSize = std::size_t{16} << 20;
/// The largest frame body a decoder accepts: a batch of the largest size and its header.
inline constexpr std::size_t maxFrameLength = maxBatchSize + 64;
/// A frame starts with its body's length, four bytes little-endian.
inline constexpr std::size_t frameLengthSize = 4;

/// Why bytes are not a frame. Any of them breaks the stream: there is no way to find the next
/// frame after a bad one.
enum class FrameError {
    tooLong,     ///< the length exceeds maxFrameLength
    unknownKind, ///< the kind byte names no message
    truncated,   ///< the body ends before a field it must hold
    malformed    ///< an empty body, a flag other than 0 or 1, or bytes left after the fields
};

std::string describe(FrameError error);

/// The message as one frame: length, kind, fields.
std::vector<std::uint8_t> encodeFrame(const Message& message);

/// The message held by one frame body (the bytes after the length).
std::expected<Message, FrameError> decodeFrameBody(std::span<const std::uint8_t> body);

/// Cuts a byte stream into messages: bytes go in as they arrive, whole messages come out.
class FrameDecoder {
public:
    void append(std::span<const std::uint8_t> bytes);

    /// The next whole message, no value while more bytes are needed, or the stream's fault.
    /// A too long frame is refused as soon as its length is read, before its body arrives.
    std::expected<std::optional<Message>, FrameError> next();

private:
    std::vector<std::uint8_t> buffer_;
    std::size_t start_ = 0; ///< where the unread bytes begin in buffer_
};

} // namespace helperkit

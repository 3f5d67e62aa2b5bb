#pragma once

#include "HelperKit/FrameCodec.hpp"
#include "HelperKit/HelperMessage.hpp"

#include <expected>
#include <mutex>
#include <string>

namespace helperkit {

/// Messages over a pair of file descriptors (a helper's standard input and output, or the
/// pipes to them). Sending is safe from any thread; receiving belongs to one thread. The
/// descriptors stay owned by the caller.
class FrameChannel {
public:
    FrameChannel(int input, int output) : input_(input), output_(output) {}

    /// Writes the whole frame; false once the other end is gone or a write failed (then every
    /// later send fails too).
    bool send(const Message& message);

    /// Blocks for the next message. The error text says why there is none: the other end
    /// closed, a read failed, a frame was bad, or `stop` (a descriptor, -1 for none) became
    /// readable.
    std::expected<Message, std::string> receive(int stop = -1);

private:
    int input_;
    int output_;
    std::mutex sending_;
    bool broken_ = false;
    FrameDecoder decoder_;
};

} // namespace helperkit

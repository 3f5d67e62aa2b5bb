// Any bytes from the other end of a helper connection, cut into chunks anywhere, come out as
// messages or one frame error, never a crash; every message decoded encodes back to a frame
// that decodes to the same message.
#include "HelperKit/FrameCodec.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    // The first byte chooses where the stream is cut, as reads from a pipe would cut it.
    const std::size_t chunk = std::size_t{data[0]} + 1;
    const std::span stream(data + 1, size - 1);
    helperkit::FrameDecoder decoder;
    for (std::size_t at = 0; at < stream.size(); at += chunk) {
        decoder.append(stream.subspan(at, std::min(chunk, stream.size() - at)));
        for (;;) {
            auto next = decoder.next();
            if (!next) {
                (void)helperkit::describe(next.error());
                return 0;
            }
            if (!*next) break;
            const auto frame = helperkit::encodeFrame(**next);
            const auto again =
                helperkit::decodeFrameBody(std::span(frame).subspan(helperkit::frameLengthSize));
            if (!again || *again != **next) std::abort();
        }
    }
    return 0;
}

// The frame codec: every message survives the trip through a stream cut anywhere, and bad
// bytes end in a frame error, never in a read past the frame.
#include "HelperKit/FrameCodec.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace helperkit;

namespace {

std::vector<std::uint8_t> bytes(std::initializer_list<int> values) {
    std::vector<std::uint8_t> out;
    for (const int value : values)
        out.push_back(static_cast<std::uint8_t>(value));
    return out;
}

} // namespace

TEST(FrameCodec, EveryMessageComesBackWhateverTheStreamIsCutInto) {
    const std::vector<Message> messages{
        VersionRequest{7},
        ScanRequest{8, "/home/ana/caf\xe9 \xe2\x80\x94 bits", {}},
        ScanRequest{11, "/", {"/proc", "/home/ana/caf\xe9"}},
        CancelRequest{},
        VersionReply{7, "1/0.1.0"},
        ScanReply{8, 12, std::nullopt},
        ScanReply{9, 0, "A scan is already running."},
        ScanReply{10, 0, std::string()},
        Batch{1 << 20, std::vector<std::uint8_t>(300, 0xAB)},
        Batch{0, {}},
        Progress{-1, ~std::uint64_t{0}},
    };
    std::vector<std::uint8_t> stream;
    for (const Message& message : messages) {
        const auto frame = encodeFrame(message);
        stream.insert(stream.end(), frame.begin(), frame.end());
    }
    for (const std::size_t chunk : {std::size_t{1}, std::size_t{5}, stream.size()}) {
        FrameDecoder decoder;
        std::vector<Message> decoded;
        for (std::size_t at = 0; at < stream.size(); at += chunk) {
            decoder.append(std::span(stream).subspan(at, std::min(chunk, stream.size() - at)));
            while (auto next = decoder.next()) {
                if (!*next) break;
                decoded.push_back(std::move(**next));
            }
        }
        EXPECT_EQ(decoded, messages) << "chunks of " << chunk;
    }
}

TEST(FrameCodec, BadFramesAreRefusedWithTheirFault) {
    const std::uint32_t tooLong = maxFrameLength + 1;
    struct Case {
        const char* name;
        std::vector<std::uint8_t> stream;
        FrameError error;
    };
    const std::vector<Case> cases{
        // Refused from its length alone, before any of its body arrives.
        {"longer than allowed",
         bytes({int(tooLong & 0xFF), int(tooLong >> 8 & 0xFF), int(tooLong >> 16 & 0xFF),
                int(tooLong >> 24)}),
         FrameError::tooLong},
        {"empty body", bytes({0, 0, 0, 0}), FrameError::malformed},
        {"kind 0", bytes({1, 0, 0, 0, 0}), FrameError::unknownKind},
        {"kind 8", bytes({1, 0, 0, 0, 8}), FrameError::unknownKind},
        {"call id cut short", bytes({3, 0, 0, 0, 1, 7, 0}), FrameError::truncated},
        {"path longer than the frame", bytes({10, 0, 0, 0, 2, 1, 0, 0, 0, 200, 0, 0, 0, 'x'}),
         FrameError::truncated},
        {"exclusion list of none", bytes({13, 0, 0, 0, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}),
         FrameError::malformed},
        {"more exclusions than the frame holds",
         bytes({13, 0, 0, 0, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0xE8, 3, 0, 0}), FrameError::truncated},
        {"byte after the fields", bytes({6, 0, 0, 0, 1, 7, 0, 0, 0, 0}), FrameError::malformed},
        {"error flag 2", bytes({14, 0, 0, 0, 5, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2}),
         FrameError::malformed},
        {"error flag without its text",
         bytes({14, 0, 0, 0, 5, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}), FrameError::truncated},
        {"progress without bytes", bytes({9, 0, 0, 0, 7, 1, 0, 0, 0, 0, 0, 0, 0}),
         FrameError::truncated},
    };
    for (const Case& c : cases) {
        FrameDecoder decoder;
        decoder.append(c.stream);
        const auto next = decoder.next();
        ASSERT_FALSE(next.has_value()) << c.name;
        EXPECT_EQ(next.error(), c.error) << c.name;
    }
}

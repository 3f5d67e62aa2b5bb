#include "Lzfse/Lzfse.hpp"
#include "Lzfse/MatchFinder.hpp"
#include "Lzfse/Vectors.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

using namespace lzfse::test;

namespace {

Bytes randomBytes(std::size_t size, std::uint32_t seed) {
    std::mt19937 rng(seed);
    Bytes bytes(size);
    for (auto& b : bytes)
        b = static_cast<std::uint8_t>(rng());
    return bytes;
}

Bytes text(std::size_t size, std::uint32_t seed) {
    static const char* const words[] = {"the ",   "file ",   "folder ", "size ", "of ",
                                        "cache ", "photos ", "and ",    "a ",    "library ",
                                        "\n",     "backup ", "2024 ",   "to ",   "disk "};
    std::mt19937 rng(seed);
    Bytes bytes;
    while (bytes.size() < size) {
        const char* word = words[rng() % std::size(words)];
        bytes.insert(bytes.end(), word, word + std::strlen(word));
    }
    bytes.resize(size);
    return bytes;
}

/// Little-endian columns like a file-tree snapshot: ascending ids, sizes, times, flags.
Bytes columns(std::size_t nodes) {
    Bytes bytes;
    const auto put = [&](std::uint64_t v, int width) {
        for (int i = 0; i < width; ++i)
            bytes.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
    };
    std::mt19937 rng(7);
    for (std::size_t i = 0; i < nodes; ++i)
        put(i / 3, 4);
    for (std::size_t i = 0; i < nodes; ++i)
        put(rng() % 100000 * 4096, 8);
    for (std::size_t i = 0; i < nodes; ++i)
        put(1700000000 + rng() % 86400, 8);
    for (std::size_t i = 0; i < nodes; ++i)
        put(rng() % 3 == 0 ? 1 : 0, 2);
    return bytes;
}

std::uint32_t firstMagic(const Bytes& stream) {
    std::uint32_t magic = 0;
    std::memcpy(&magic, stream.data(), 4);
    return magic;
}

/// The output of the window decoder on `threads` threads, collected.
std::expected<Bytes, lzfse::Error> decodedTo(const Bytes& stream, unsigned threads) {
    Bytes output;
    const auto done = lzfse::decodeTo(
        stream,
        [&](std::span<const std::uint8_t> piece) {
            output.insert(output.end(), piece.begin(), piece.end());
        },
        threads);
    if (!done) return std::unexpected(done.error());
    return output;
}

/// The input comes back from the growing decoder and from the window one on one and two
/// threads, and the headers announce its size.
void expectRoundTrip(const Bytes& input) {
    const Bytes stream = lzfse::encode(input);
    const auto decoded = lzfse::decode(stream);
    ASSERT_TRUE(decoded.has_value()) << lzfse::describe(decoded.error());
    EXPECT_TRUE(*decoded == input);
    EXPECT_EQ(lzfse::decodedSize(stream), input.size());
    for (const unsigned threads : {1u, 2u}) {
        const auto streamed = decodedTo(stream, threads);
        ASSERT_TRUE(streamed.has_value()) << threads;
        EXPECT_TRUE(*streamed == input) << threads;
    }
}

constexpr std::uint32_t rawMagic = 0x2D787662;
constexpr std::uint32_t v2Magic = 0x32787662;

} // namespace

TEST(LzfseRoundTrip, GeneratedInputsAndBlockKinds) {
    expectRoundTrip({});
    expectRoundTrip({'x'});
    for (const std::size_t size : {7u, 8u, 9u, 100u, 4095u, 4096u, 4097u, 70000u}) {
        SCOPED_TRACE(size);
        expectRoundTrip(randomBytes(size, static_cast<std::uint32_t>(size)));
        expectRoundTrip(text(size, static_cast<std::uint32_t>(size)));
        expectRoundTrip(Bytes(size, 0));
        expectRoundTrip(Bytes(size, 0xAB));
    }
    expectRoundTrip(columns(50000));

    // The reference vectors fix the block kinds of compressible input; incompressible input
    // is stored below 4096 bytes and still coded as v2 from there on.
    EXPECT_EQ(firstMagic(lzfse::encode(randomBytes(4095, 1))), rawMagic);
    EXPECT_EQ(firstMagic(lzfse::encode(randomBytes(4096, 1))), v2Magic);
}

TEST(LzfseRoundTrip, ManyBlocks) {
    // Random bytes fill a block's literal buffer after about 40 000 bytes; sizes around that
    // end the input just before, at and after a block boundary.
    const Bytes random = randomBytes(300000, 3);
    for (std::size_t size = 39980; size <= 39995; ++size) {
        SCOPED_TRACE(size);
        expectRoundTrip(Bytes(random.begin(), random.begin() + static_cast<long>(size)));
    }
    expectRoundTrip(random);

    // Short repeats fill a block's triple limit instead; long runs split into 2359-byte parts
    // with matches crossing block boundaries.
    Bytes mixed;
    std::mt19937 rng(5);
    while (mixed.size() < 3'000'000) {
        const std::size_t run = rng() % 3 == 0 ? 5000 + rng() % 20000 : 4 + rng() % 8;
        const auto value = static_cast<std::uint8_t>(rng() % 4);
        mixed.insert(mixed.end(), run, value);
        mixed.push_back(static_cast<std::uint8_t>(rng()));
    }
    expectRoundTrip(mixed);
    // More than the window decoder keeps at once, so it hands out and slides its window.
    expectRoundTrip(columns(400000));
}

TEST(LzfseRoundTrip, BufferOverloadsReuseTheCallersVector) {
    const Bytes input = text(100000, 9);
    Bytes stream{1, 2, 3};
    lzfse::encode(input, stream);
    EXPECT_TRUE(stream == lzfse::encode(input));
    Bytes output(5, 0xFF);
    ASSERT_TRUE(lzfse::decode(stream, output).has_value());
    EXPECT_TRUE(output == input);

    // An end-of-stream block alone is an empty stream; bytes after it are ignored.
    const Bytes endOnly{'b', 'v', 'x', '$', 'j', 'u', 'n', 'k'};
    ASSERT_TRUE(lzfse::decode(endOnly, output).has_value());
    EXPECT_TRUE(output.empty());
}

TEST(LzfseRoundTrip, ReusedMatchFinderCodesEachInputOnItsOwn) {
    // Stored positions near the 32-bit limit are renumbered in the middle of an input, and
    // the next input starts from a cleared table; neither may change the output.
    for (const char* name : {"mixed_4096", "english_64k"}) {
        SCOPED_TRACE(name);
        const Bytes raw = readFile(vectorPath(std::string(name) + ".bin"));
        const Bytes expected = readFile(vectorPath(std::string(name) + ".lzfse"));
        ASSERT_GT(expected.size(), 4u);
        lzfse::MatchFinder finder((std::int64_t{1} << 30) - static_cast<long>(raw.size() / 2));
        for (int round = 0; round < 3; ++round) {
            Bytes stream;
            finder.encode(raw, stream);
            // The finder writes everything but the end-of-stream block.
            EXPECT_TRUE(
                std::equal(stream.begin(), stream.end(), expected.begin(), expected.end() - 4))
                << round;
        }
    }
}

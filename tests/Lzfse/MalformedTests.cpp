#include "Lzfse/Lzfse.hpp"
#include "Lzfse/Vectors.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using namespace lzfse::test;
using lzfse::Error;

namespace {

std::uint32_t get32(const Bytes& b, std::size_t at) {
    std::uint32_t v;
    std::memcpy(&v, b.data() + at, 4);
    return v;
}

void put32(Bytes& b, std::size_t at, std::uint32_t v) {
    std::memcpy(b.data() + at, &v, 4);
}

void append32(Bytes& b, std::uint32_t v) {
    for (int shift = 0; shift < 32; shift += 8)
        b.push_back(static_cast<std::uint8_t>(v >> shift));
}

/// Replaces a bit field of the v2 header word at `at` (P0 at 8, P1 at 16, P2 at 24).
Bytes withField(Bytes b, std::size_t at, unsigned offset, unsigned width, std::uint64_t value) {
    std::uint64_t word;
    std::memcpy(&word, b.data() + at, 8);
    const std::uint64_t mask = ((std::uint64_t{1} << width) - 1) << offset;
    word = (word & ~mask) | ((value << offset) & mask);
    std::memcpy(b.data() + at, &word, 8);
    return b;
}

Error errorOf(const Bytes& stream) {
    const auto decoded = lzfse::decode(stream);
    EXPECT_FALSE(decoded.has_value());
    return decoded ? Error::truncated : decoded.error();
}

} // namespace

TEST(LzfseMalformed, EveryTruncationIsRejected) {
    for (const char* name : {"text_100", "mixed_4096", "constructed_multitype"}) {
        SCOPED_TRACE(name);
        const Bytes stream = readFile(vectorPath(std::string(name) + ".lzfse"));
        for (std::size_t size = 0; size < stream.size(); ++size) {
            const Bytes cut(stream.begin(), stream.begin() + static_cast<long>(size));
            const auto decoded = lzfse::decode(cut);
            ASSERT_FALSE(decoded.has_value()) << size;
            const Error e = decoded.error();
            // A cut between blocks misses the end; a cut inside a block may also surface as a
            // payload that no longer matches its header.
            EXPECT_TRUE(e == Error::truncated || e == Error::missingEndOfStream ||
                        e == Error::badLzvnOpcode)
                << size << ": " << lzfse::describe(e);
        }
    }
}

TEST(LzfseMalformed, BitFlipsNeverCrash) {
    for (const char* name : {"text_100", "mixed_4095", "mixed_4096"}) {
        SCOPED_TRACE(name);
        const Bytes stream = readFile(vectorPath(std::string(name) + ".lzfse"));
        const Bytes raw = readFile(vectorPath(std::string(name) + ".bin"));
        std::size_t rejected = 0;
        for (std::size_t bit = 0; bit < stream.size() * 8; ++bit) {
            Bytes flipped = stream;
            flipped[bit / 8] ^= static_cast<std::uint8_t>(1u << (bit % 8));
            const auto decoded = lzfse::decode(flipped);
            if (!decoded) {
                ++rejected;
                if (bit < 32) {
                    EXPECT_EQ(decoded.error(), Error::badBlockMagic);
                }
            } else {
                EXPECT_GE(bit, 32u);
                EXPECT_EQ(decoded->size(), raw.size()) << bit;
            }
        }
        // Flips that keep the stream consistent change literal bytes or distances only.
        EXPECT_GT(rejected, 0u);
    }
}

TEST(LzfseMalformed, TheWindowDecoderNamesTheSameFaultOnTwoThreads) {
    // Short runs of a few values: enough triples for nine blocks, with matches across their
    // boundaries. Every flip lands in a different place.
    Bytes input;
    for (std::uint32_t x = 1; input.size() < 1'000'000;) {
        x = x * 1664525u + 1013904223u;
        input.insert(input.end(), 3 + (x >> 28) % 13, static_cast<std::uint8_t>(x >> 20 & 7));
    }
    const Bytes stream = lzfse::encode(input);
    for (std::size_t at = 0; at < stream.size(); at += stream.size() / 300 + 1) {
        SCOPED_TRACE(at);
        Bytes flipped = stream;
        flipped[at] ^= 0x10;
        const auto serial = lzfse::decode(flipped);
        Bytes output;
        const auto streamed = lzfse::decodeTo(
            flipped,
            [&](std::span<const std::uint8_t> piece) {
                output.insert(output.end(), piece.begin(), piece.end());
            },
            2);
        ASSERT_EQ(streamed.has_value(), serial.has_value());
        if (serial)
            EXPECT_TRUE(output == *serial);
        else
            EXPECT_EQ(streamed.error(), serial.error());
    }
}

TEST(LzfseMalformed, LyingSizeFieldsAreRejected) {
    const Bytes v2 = readFile(vectorPath("mixed_4096.lzfse"));
    const std::uint32_t rawSize = get32(v2, 4);
    Bytes b = v2;
    put32(b, 4, rawSize + 1);
    EXPECT_EQ(errorOf(b), Error::outputUnderflow);
    put32(b, 4, rawSize - 1);
    EXPECT_EQ(errorOf(b), Error::outputOverflow);
    put32(b, 4, 0xFFFFFFFF);
    EXPECT_EQ(errorOf(b), Error::badHeader);
    EXPECT_EQ(errorOf(withField(v2, 8, 0, 20, 1326)), Error::badHeader);       // literal count
    EXPECT_EQ(errorOf(withField(v2, 8, 0, 20, 40004)), Error::badHeader);      // literal count
    EXPECT_EQ(errorOf(withField(v2, 8, 40, 20, 10001)), Error::badHeader);     // match count
    EXPECT_EQ(errorOf(withField(v2, 8, 40, 20, 213)), Error::outputUnderflow); // match count
    EXPECT_EQ(errorOf(withField(v2, 16, 40, 20, 0xFFFFF)), Error::truncated);  // L/M/D size
    EXPECT_EQ(errorOf(withField(v2, 24, 0, 32, 0xFFFFFF)), Error::truncated);  // header size
    EXPECT_EQ(errorOf(withField(v2, 24, 0, 32, 185)), Error::badTable);
    EXPECT_EQ(errorOf(withField(v2, 24, 0, 32, 20)), Error::badHeader);
    EXPECT_EQ(errorOf(withField(v2, 24, 32, 10, 64)), Error::badHeader); // L state
    EXPECT_EQ(errorOf(withField(v2, 16, 0, 10, 1023)), Error::badBitStream);

    const Bytes lzvn = readFile(vectorPath("text_100.lzfse"));
    b = lzvn;
    put32(b, 4, 101);
    EXPECT_EQ(errorOf(b), Error::outputUnderflow);
    put32(b, 4, 99);
    EXPECT_EQ(errorOf(b), Error::outputOverflow);
    put32(b, 4, 0x7FFFFFFF);
    EXPECT_EQ(errorOf(b), Error::badHeader);
    b = lzvn;
    put32(b, 8, get32(lzvn, 8) - 1);
    EXPECT_EQ(errorOf(b), Error::badLzvnOpcode);
    put32(b, 8, get32(lzvn, 8) + 5);
    EXPECT_EQ(errorOf(b), Error::truncated);

    const Bytes raw = readFile(vectorPath("one_byte.lzfse"));
    b = raw;
    put32(b, 4, 2);
    EXPECT_EQ(errorOf(b), Error::truncated); // the next block now starts inside "bvx$"
    put32(b, 4, 100);
    EXPECT_EQ(errorOf(b), Error::truncated);
}

TEST(LzfseMalformed, LzvnOpcodesAreChecked) {
    const auto lzvn = [](const Bytes& payload, std::uint32_t rawSize) {
        Bytes b{'b', 'v', 'x', 'n'};
        append32(b, rawSize);
        append32(b, static_cast<std::uint32_t>(payload.size()));
        b.insert(b.end(), payload.begin(), payload.end());
        b.insert(b.end(), {'b', 'v', 'x', '$'});
        return b;
    };
    const Bytes end{6, 0, 0, 0, 0, 0, 0, 0};
    const auto with = [&](Bytes ops) {
        ops.insert(ops.end(), end.begin(), end.end());
        return ops;
    };
    // Two literals, a no-op, a match of 3 from distance 1, and 3 more from the same distance.
    const auto good = lzfse::decode(lzvn(with({0xE2, 'a', 'b', 0x0E, 0x00, 0x01, 0xF3}), 8));
    ASSERT_TRUE(good.has_value());
    EXPECT_EQ(std::string(good->begin(), good->end()), "abbbbbbb");

    EXPECT_EQ(errorOf(lzvn(with({0xE1, 'a', 0x70}), 1)), Error::badLzvnOpcode); // undefined
    EXPECT_EQ(errorOf(lzvn(with({0xE1, 'a', 0x1E}), 1)), Error::badLzvnOpcode); // undefined
    EXPECT_EQ(errorOf(lzvn(with({0xE1, 'a', 0xF3}), 4)), Error::badDistance);   // no distance yet
    EXPECT_EQ(errorOf(lzvn(with({0xE1, 'a', 0x00, 0x00}), 4)), Error::badDistance); // zero
    EXPECT_EQ(errorOf(lzvn({0xE1, 'a', 6, 0, 0, 0, 0, 0, 0, 0, 0}, 1)),
              Error::badLzvnOpcode);                                      // end not last
    EXPECT_EQ(errorOf(lzvn({0xE3, 'a'}, 3)), Error::badLzvnOpcode);       // literals overrun
    EXPECT_EQ(errorOf(lzvn({0xE1, 'a', 0xF0}, 3)), Error::badLzvnOpcode); // opcode overruns
}

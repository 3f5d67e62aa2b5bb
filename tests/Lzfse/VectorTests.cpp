#include "Lzfse/Lzfse.hpp"
#include "Lzfse/Vectors.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

using namespace lzfse::test;

TEST(LzfseVectors, EveryVectorDecodesToItsRawFile) {
    auto names = referenceVectors;
    names.push_back("constructed_multitype"); // raw, LZVN, v1 and v2 blocks in one stream
    for (const auto& name : names) {
        SCOPED_TRACE(name);
        const Bytes raw = readFile(vectorPath(name + ".bin"));
        const Bytes stream = readFile(vectorPath(name + ".lzfse"));
        ASSERT_FALSE(stream.empty());
        const auto decoded = lzfse::decode(stream);
        ASSERT_TRUE(decoded.has_value()) << lzfse::describe(decoded.error());
        EXPECT_TRUE(*decoded == raw);
    }
}

TEST(LzfseVectors, EncoderReproducesTheReferenceStreams) {
    for (const auto& name : referenceVectors) {
        SCOPED_TRACE(name);
        const Bytes raw = readFile(vectorPath(name + ".bin"));
        const Bytes expected = readFile(vectorPath(name + ".lzfse"));
        const Bytes encoded = lzfse::encode(raw);
        EXPECT_EQ(encoded.size(), expected.size());
        EXPECT_TRUE(encoded == expected);
    }
}

TEST(LzfseVectors, InvalidStreamsAreRejectedWithDistinctErrors) {
    const std::pair<std::string, lzfse::Error> cases[] = {
        {"invalid_no_eos", lzfse::Error::missingEndOfStream},
        {"invalid_truncated", lzfse::Error::truncated},
        {"invalid_bad_magic", lzfse::Error::badBlockMagic},
        {"invalid_lzvn_distance", lzfse::Error::badDistance},
        {"invalid_freq_sum", lzfse::Error::badTable},
        {"invalid_lit_padding", lzfse::Error::badBitStream},
    };
    std::set<std::string_view> descriptions;
    for (const auto& [name, error] : cases) {
        SCOPED_TRACE(name);
        const Bytes stream = readFile(vectorPath("invalid/" + name + ".lzfse"));
        ASSERT_FALSE(stream.empty());
        const auto decoded = lzfse::decode(stream);
        ASSERT_FALSE(decoded.has_value());
        EXPECT_EQ(decoded.error(), error);
        descriptions.insert(lzfse::describe(decoded.error()));
    }
    EXPECT_EQ(descriptions.size(), std::size(cases));
}

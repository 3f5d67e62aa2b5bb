#include "Lzfse/Vectors.hpp"
#include "support/CommandOutput.hpp"
#include "support/TempFolder.hpp"

#include <gtest/gtest.h>

#include <string>

using namespace lzfse::test;

namespace {

int brantle(const std::string& args) {
    int status = -1;
    brantleOutput("lzfse " + args + " 2>/dev/null", &status);
    return status;
}

} // namespace

TEST(LzfseCommand, EncodesDecodesAndReportsFailures) {
    const TempFolder dir;
    const std::string raw = vectorPath("mixed_4096.bin");
    const std::string packed = dir / "packed";
    const std::string unpacked = dir / "unpacked";

    EXPECT_EQ(brantle("encode " + raw + " " + packed), 0);
    EXPECT_TRUE(readFile(packed) == readFile(vectorPath("mixed_4096.lzfse")));
    EXPECT_EQ(brantle("decode " + packed + " " + unpacked), 0);
    EXPECT_TRUE(readFile(unpacked) == readFile(raw));

    EXPECT_EQ(
        brantle("decode " + vectorPath("invalid/invalid_bad_magic.lzfse") + " " + (dir / "bad")),
        1);
    EXPECT_FALSE(std::filesystem::exists(dir / "bad"));
    EXPECT_EQ(brantle("decode " + (dir / "missing") + " " + unpacked), 1);
    EXPECT_EQ(brantle("squash " + raw + " " + packed), 2);
    EXPECT_EQ(brantle("encode " + raw), 2);
}

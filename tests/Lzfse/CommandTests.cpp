#include "Lzfse/Vectors.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using namespace lzfse::test;
namespace fs = std::filesystem;

namespace {

int brantle(const std::string& args) {
    const std::string command = std::string(AMBREL_BRANTLE) + " lzfse " + args + " 2>/dev/null";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(LzfseCommand, EncodesDecodesAndReportsFailures) {
    const fs::path dir = fs::temp_directory_path() / ("lzfse-command-" + std::to_string(getpid()));
    fs::create_directories(dir);
    const std::string raw = vectorPath("mixed_4096.bin");
    const std::string packed = (dir / "packed").string();
    const std::string unpacked = (dir / "unpacked").string();

    EXPECT_EQ(brantle("encode " + raw + " " + packed), 0);
    EXPECT_TRUE(readFile(packed) == readFile(vectorPath("mixed_4096.lzfse")));
    EXPECT_EQ(brantle("decode " + packed + " " + unpacked), 0);
    EXPECT_TRUE(readFile(unpacked) == readFile(raw));

    EXPECT_EQ(brantle("decode " + vectorPath("invalid/invalid_bad_magic.lzfse") + " " +
                      (dir / "bad").string()),
              1);
    EXPECT_FALSE(fs::exists(dir / "bad"));
    EXPECT_EQ(brantle("decode " + (dir / "missing").string() + " " + unpacked), 1);
    EXPECT_EQ(brantle("squash " + raw + " " + packed), 2);
    EXPECT_EQ(brantle("encode " + raw), 2);
    fs::remove_all(dir);
}

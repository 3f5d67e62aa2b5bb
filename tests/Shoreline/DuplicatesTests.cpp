#include "Shoreline/Rules.hpp"
#include "TestHome.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

using namespace shoreline;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using P = TestHome::Proposal;

namespace {

constexpr std::size_t KiB = 1024;

std::string randomBytes(std::size_t size, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::string bytes(size, '\0');
    for (auto& byte : bytes)
        byte = static_cast<char>(random() & 0xFF);
    return bytes;
}

std::string kept(const std::string& display) {
    return "Identical to " + display + ", which is kept.";
}

ShorelineContext duplicatesContext(TestHome& home) {
    auto context = home.context();
    context.duplicateMinBytes = 256 * KiB;
    return context;
}

TEST(DuplicatesRule, KeepsTheCopyInTheMostDeliberatePlace) {
    TestHome home;
    const std::string a = randomBytes(300 * KiB, 1);
    home.file("Documents/report.bin", a);
    home.file("Downloads/report.bin", a);
    home.age("Documents/report.bin", 30); // older, but in a deliberate place
    home.file("misc/report copy.bin", a);

    const std::string b = randomBytes(320 * KiB, 2);
    home.file("Downloads/b-old.bin", b);
    home.file("Downloads/b-new.bin", b);
    home.age("Downloads/b-old.bin", 10);
    home.age("Downloads/b-new.bin", 5);

    const std::string c = randomBytes(340 * KiB, 3);
    home.file("Music/Music/Media/song.m4a", c);
    home.age("Music/Music/Media/song.m4a", 400);
    home.file("Desktop/song.m4a", c);
    home.file("Music/iTunes/song.m4a", c); // another managed copy: never proposed either
    home.age("Music/iTunes/song.m4a", 500);

    const std::string small = randomBytes(200 * KiB, 4);
    home.file("Downloads/small-1", small);
    home.file("Downloads/small-2", small);

    EXPECT_THAT(home.proposals(DuplicatesRule(), duplicatesContext(home)),
                UnorderedElementsAre(
                    P{"Downloads/report.bin", Safety::review, kept("~/Documents/report.bin")},
                    P{"misc/report copy.bin", Safety::review, kept("~/Documents/report.bin")},
                    P{"Downloads/b-old.bin", Safety::review, kept("~/Downloads/b-new.bin")},
                    P{"Desktop/song.m4a", Safety::review, kept("~/Music/Music/Media/song.m4a")}));

    // At the usual 50 MiB floor none of these small files is even compared.
    EXPECT_THAT(home.proposals(DuplicatesRule(), home.context()), IsEmpty());
}

TEST(DuplicatesRule, ComparesWholeContents) {
    TestHome home;
    std::string head = randomBytes(512 * KiB, 5);
    std::string middle = head;
    middle[256 * KiB] = static_cast<char>(middle[256 * KiB] ^ 1);
    home.file("Documents/a.raw", head);
    home.file("Downloads/a.raw", middle); // same head, tail and size

    const std::string other = randomBytes(384 * KiB, 6);
    std::string otherHead = other;
    otherHead[0] = static_cast<char>(otherHead[0] ^ 1);
    home.file("Documents/b.raw", other);
    home.file("Downloads/b.raw", otherHead);

    const std::string gone = randomBytes(400 * KiB, 7);
    home.file("Documents/c.raw", gone);
    home.file("Downloads/c.raw", gone);
    home.file("Videos/c.raw", gone);
    auto context = duplicatesContext(home);
    // Removed after the scan: it cannot be read and drops out without a word.
    ASSERT_EQ(::unlink((home / "Videos/c.raw").c_str()), 0);
    EXPECT_THAT(
        home.proposals(DuplicatesRule(), context),
        UnorderedElementsAre(P{"Downloads/c.raw", Safety::review, kept("~/Documents/c.raw")}));
}

TEST(DuplicatesRule, NeverProposesCreativeProjectCopies) {
    TestHome home;
    const std::string clip = randomBytes(300 * KiB, 8);
    home.file("Documents/clip.mov", clip);
    home.file("Videos/Film.fcpproj/Media/clip.mov", clip);
    home.file("Videos/Edit/Adobe Premiere Pro Auto-Save/clip.mov", clip);
    home.file("Videos/Live Set/Samples/clip.mov", clip);
    home.folder("Videos/Live Set/Ableton Project Info");
    home.file("Downloads/clip.prv", clip);
    home.file("Downloads/clip.mov", clip);
    for (const char* copy :
         {"Videos/Film.fcpproj/Media/clip.mov", "Videos/Edit/Adobe Premiere Pro Auto-Save/clip.mov",
          "Videos/Live Set/Samples/clip.mov"})
        home.age(copy, 50); // older than the copy in Documents, so not kept
    auto context = duplicatesContext(home);
    EXPECT_THAT(home.proposals(DuplicatesRule(), context),
                UnorderedElementsAre(
                    P{"Downloads/clip.mov", Safety::review, kept("~/Documents/clip.mov")}));
}

// A library is a whole folder name under this home, not a prefix of one.
TEST(DuplicatesRule, ManagedLibraryBoundaries) {
    TestHome mac(System::macOS);
    mac.folder("x");
    const auto context = mac.context();
    EXPECT_FALSE(DuplicatesRule::inManagedLibrary(mac / "Music/Musical/a.mp3", context));
    EXPECT_FALSE(DuplicatesRule::inManagedLibrary("/elsewhere/Music/Music/a.mp3", context));
}

} // namespace

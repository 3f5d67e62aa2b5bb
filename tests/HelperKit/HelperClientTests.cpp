// The client against a scripted helper: blocks missing after the reply, blocks out of
// order, and a wait given up from another thread.
#include "HelperProgram.hpp"

#include "support/TempFolder.hpp"
#include "support/TreeDump.hpp"

#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

using namespace helperkit;
using namespace std::chrono_literals;

namespace {

std::unique_ptr<HelperClient> startScripted(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), AMBREL_SCRIPTED_HELPER);
    return startHelper(std::move(arguments));
}

} // namespace

TEST(HelperClient, FailsAsIncompleteWhenAnnouncedBlocksDoNotCome) {
    TempFolder work;
    work.file("a", 3000);
    const auto client = startScripted({"--batch-size", "32", "--announce", "3", "--send", "2"});
    client->setBatchTimeout(400ms);
    const auto started = std::chrono::steady_clock::now();
    const auto blob = client->scan(work.path());
    const auto waited = std::chrono::steady_clock::now() - started;
    ASSERT_FALSE(blob.has_value());
    EXPECT_EQ(blob.error().description(), "The administrator scan arrived incomplete.");
    EXPECT_GE(waited, 400ms);
    EXPECT_EQ(client->received(), 2u);
    EXPECT_EQ(client->expected(), 3u);
}

TEST(HelperClient, JoinsBlocksThatArriveOutOfOrderByOffset) {
    TempFolder work;
    work.folder("docs");
    work.file("docs/a", 5000);
    work.file("b", 100);
    const auto client = startScripted({"--batch-size", "16", "--reverse", "yes"});
    const auto blob = client->scan(work.path());
    ASSERT_TRUE(blob.has_value()) << blob.error().description();
    EXPECT_GT(client->received(), 3u);
    const auto contents = brantle::Snapshot::decode(*blob);
    ASSERT_TRUE(contents.has_value());
    brantle::DiskScanner scanner(brantle::ScanOptions::forVolume(work.path()), 1);
    EXPECT_EQ(treeDump(contents->tree), treeDump(scanner.scan(work.path())));
}

TEST(HelperClient, AbortEndsTheWaitAtOnceAndStopsTheHelper) {
    TempFolder work;
    work.file("a", 3000);
    const auto client = startScripted({"--batch-size", "32", "--announce", "3", "--send", "2"});
    std::jthread giveUp([&] {
        while (client->received() < 2)
            std::this_thread::sleep_for(1ms);
        client->abort();
    });
    EXPECT_FALSE(client->scan(work.path()).has_value()); // else a wait of 30 s
    giveUp.join();
    // Signalled: the scripted helper would otherwise stay until its input closes.
    EXPECT_EQ(client->invalidate(), 128 + SIGTERM);
}

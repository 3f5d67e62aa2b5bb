// The real helper program over pipes: what it sends back is the direct scan, cut into
// batches of its batch size; its refusals, cancelling, and its exit when idle.
#include "HelperProgram.hpp"

#include "HelperKit/HelperError.hpp"
#include "support/CommandOutput.hpp"
#include "support/TempFolder.hpp"
#include "support/TreeDump.hpp"

#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

using namespace helperkit;
using namespace std::chrono_literals;

namespace {

std::string directScanDump(const std::string& path) {
    brantle::DiskScanner scanner(brantle::ScanOptions::forVolume(path), 2);
    return treeDump(scanner.scan(path));
}

} // namespace

TEST(ScanService, SendsTheDirectScanAsASnapshotInBatches) {
    TempFolder work;
    const std::string corpus = work / "corpus";
    ASSERT_TRUE(makeCorpus(corpus, 2000, true)) << "make-tree failed";
    // Which name of a hard-linked file counts depends on the order the workers meet them.

    const auto client = startRealHelper({"--batch-size", "4096"});
    const auto before = brantle::ChangeHistory::currentEventID();
    std::int64_t lastFiles = 0;
    const auto blob =
        client->scan(corpus, [&](std::int64_t files, std::uint64_t) { lastFiles = files; });
    const auto after = brantle::ChangeHistory::currentEventID();
    ASSERT_TRUE(blob.has_value()) << blob.error().description();
    EXPECT_GT(client->received(), 1u);

    const auto contents = brantle::Snapshot::decode(*blob);
    ASSERT_TRUE(contents.has_value());
    EXPECT_EQ(treeDump(contents->tree), directScanDump(corpus));
    // The event id is read before the scan, so that changes made during it are caught up.
    EXPECT_GE(contents->meta.fsEventID, before);
    EXPECT_LE(contents->meta.fsEventID, after);
    EXPECT_LE(lastFiles, static_cast<std::int64_t>(contents->tree.count()));
    EXPECT_EQ(client->invalidate(), 0);
}

TEST(ScanService, LeavesOutTheFoldersTheRequestExcludes) {
    TempFolder work;
    work.folder("skip");
    work.file("skip/big", 90000);
    work.file("keep", 4000);
    const auto client = startRealHelper({});
    const auto blob = client->scan(work.path(), {}, {work / "skip"});
    ASSERT_TRUE(blob.has_value()) << blob.error().description();
    const auto contents = brantle::Snapshot::decode(*blob);
    ASSERT_TRUE(contents.has_value());
    EXPECT_FALSE(contents->tree.node(work / "skip"));
    EXPECT_TRUE(contents->tree.node(work / "keep"));
    EXPECT_EQ(client->invalidate(), 0);
}

TEST(ScanService, ABlobOfExactlyTheBatchSizeIsOneBlockAndOneByteMoreIsTwo) {
    TempFolder work;
    work.file("a", 10);
    work.file("b", 10);
    // The blob's size depends a little on the scan's time and event id that it holds, so the
    // size is learnt first and the rare scan whose size differs is tried again.
    const auto sizeOf = [&](std::size_t batchSize, std::size_t* blocks) {
        const auto client = startRealHelper({"--batch-size", std::to_string(batchSize)});
        const auto blob = client->scan(work.path());
        EXPECT_TRUE(blob.has_value());
        *blocks = client->received();
        return blob ? blob->size() : 0;
    };
    std::size_t blocks = 0;
    const std::size_t size = sizeOf(1 << 20, &blocks);
    ASSERT_GT(size, 1u);
    for (const auto& [batchSize, wanted] : {std::pair{size, 1u}, std::pair{size - 1, 2u}}) {
        bool seen = false;
        for (int attempt = 0; attempt < 5 && !seen; ++attempt) {
            seen = sizeOf(batchSize, &blocks) == size;
            if (seen) {
                EXPECT_EQ(blocks, wanted) << "batch size " << batchSize;
            }
        }
        EXPECT_TRUE(seen) << "no blob of " << size << " bytes in five scans";
    }
}

TEST(ScanService, RefusesWhatIsNotAFolder) {
    TempFolder work;
    work.file("file");
    const auto client = startRealHelper();
    for (const std::string& path :
         {work / "file", work / "missing", std::string("relative/path")}) {
        const auto blob = client->scan(path);
        ASSERT_FALSE(blob.has_value()) << path;
        EXPECT_EQ(blob.error(), HelperError::helper("Not a folder: " + path));
        EXPECT_EQ(client->received(), 0u);
    }
    // The connection serves on after a refusal.
    EXPECT_TRUE(client->scan(work.path()).has_value());
}

TEST(ScanService, RefusesASecondScanWhileOneRunsAndCancelsWithoutBatches) {
    TempFolder work;
    const auto client = startRealHelper();
    std::promise<void> firstProgress;
    std::once_flag once;
    // The whole root volume takes far longer than the first progress report (0.1 s).
    auto first = std::async(std::launch::async, [&] {
        return client->scan("/", [&](std::int64_t, std::uint64_t) {
            std::call_once(once, [&] { firstProgress.set_value(); });
        });
    });
    ASSERT_EQ(firstProgress.get_future().wait_for(30s), std::future_status::ready);
    const auto second = client->scan(work.path());
    ASSERT_FALSE(second.has_value());
    EXPECT_EQ(second.error(), HelperError::helper("A scan is already running."));

    client->cancel();
    const auto cancelled = first.get();
    ASSERT_FALSE(cancelled.has_value());
    EXPECT_EQ(cancelled.error(), HelperError::helper("Cancelled"));
    EXPECT_EQ(client->received(), 0u);
    // Once the cancelled scan has replied, the next one runs.
    EXPECT_TRUE(client->scan(work.path()).has_value());
}

TEST(ScanService, ExitsWhenIdleForLongerThanItsLimit) {
    const auto client = startRealHelper({"--idle-limit", "0.5"});
    const auto started = std::chrono::steady_clock::now();
    ASSERT_TRUE(client->version().has_value());
    // The idle check runs every 15 s: the helper is gone after the first check past the limit.
    while (client->isConnected() && std::chrono::steady_clock::now() - started < 40s)
        std::this_thread::sleep_for(100ms);
    const auto gone = std::chrono::steady_clock::now() - started;
    EXPECT_FALSE(client->version().has_value());
    EXPECT_GE(gone, 14s);
    EXPECT_LT(gone, 20s);
    EXPECT_EQ(client->invalidate(), 0);
}

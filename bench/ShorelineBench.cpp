// Suggestions: the whole analysis over a scanned million-entry home, and the duplicate
// finder's whole-file hashing throughput on a cached file.
#include "BrantleCore/DiskScanner.hpp"
#include "Shoreline/FileDigest.hpp"
#include "Shoreline/Shoreline.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <unistd.h>

namespace {

std::string temporaryFolder() {
    const char* tmp = std::getenv("TMPDIR");
    return tmp && *tmp ? tmp : "/tmp";
}

/// A home-shaped corpus made by make-tree, kept between runs ($AMBREL_BENCH_CORPUS, or
/// one made under the temporary folder).
std::string corpus(std::string& error) {
    if (const char* chosen = std::getenv("AMBREL_BENCH_CORPUS")) return chosen;
    const std::string folder = temporaryFolder() + "/ambrel-corpus-1000000";
    if (std::filesystem::exists(folder + ".made")) return folder;
    std::filesystem::remove_all(folder);
    const std::string make = "python3 " AMBREL_MAKE_TREE " --entries 1000000 '" + folder +
                             "' >/dev/null && echo 1000000 > '" + folder + ".made'";
    if (std::system(make.c_str()) != 0) error = "make-tree failed";
    return folder;
}

void BM_Analyze(benchmark::State& state) {
    std::string error;
    const std::string home = corpus(error);
    if (!error.empty()) {
        state.SkipWithError(error.c_str());
        return;
    }
    static const auto tree = std::make_unique<const brantle::FileTree>(
        brantle::DiskScanner(brantle::ScanOptions{}, 2).scan(home));
    const auto shared =
        std::make_shared<const brantle::PlatformProfile>(brantle::PlatformProfile::linux());
    shoreline::ShorelineContext context(
        *tree, home, brantle::DeletionGuard(home, "/nonexistent/app", nullptr, shared), shared);
    context.suggestionFolders = shoreline::SuggestionFolders::linux();
    std::size_t findings = 0;
    for (auto _ : state) {
        const auto categories = shoreline::Shoreline::analyze(context);
        findings = 0;
        for (const auto& category : categories)
            findings += category.findings.size();
        benchmark::DoNotOptimize(findings);
    }
    state.counters["nodes"] = static_cast<double>(tree->count());
    state.counters["findings"] = static_cast<double>(findings);
}
BENCHMARK(BM_Analyze)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FullDigest(benchmark::State& state) {
    const std::string path = temporaryFolder() + "/ambrel-bench-digest-" + std::to_string(getpid());
    const auto bytes = static_cast<std::size_t>(state.range(0)) << 20;
    {
        std::mt19937_64 random(1);
        std::vector<std::uint64_t> block(1 << 17);
        std::ofstream out(path, std::ios::binary);
        for (std::size_t written = 0; written < bytes; written += block.size() * 8) {
            for (auto& word : block)
                word = random();
            out.write(reinterpret_cast<const char*>(block.data()),
                      static_cast<std::streamsize>(block.size() * 8));
        }
    }
    benchmark::DoNotOptimize(shoreline::FileDigest::full(path)); // into the page cache
    for (auto _ : state)
        benchmark::DoNotOptimize(shoreline::FileDigest::full(path));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
    ::unlink(path.c_str());
}
BENCHMARK(BM_FullDigest)->Arg(256)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

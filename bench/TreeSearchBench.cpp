// Search over a scanned million-entry home (bench/make-tree's corpus, made when missing): the
// queries a person types, each one full pass over the tree, as the window runs them per key.
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/TreeSearch.hpp"

#include <benchmark/benchmark.h>

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

using brantle::DiskScanner;
using brantle::FileTree;
using brantle::ScanOptions;
using brantle::SearchQuery;
using brantle::TreeSearch;

namespace {

std::string corpusPath() {
    if (const char* path = std::getenv("AMBREL_BENCH_CORPUS")) return path;
    const char* tmp = std::getenv("TMPDIR");
    return std::string(tmp ? tmp : "/tmp") + "/ambrel-corpus-1000000";
}

const FileTree& corpus() {
    static const FileTree tree = [] {
        const std::string root = corpusPath();
        if (!std::filesystem::exists(root)) {
            const std::string make =
                "python3 '" AMBREL_MAKE_TREE "' --entries 1000000 '" + root + "' >/dev/null";
            if (std::system(make.c_str()) != 0) std::abort();
        }
        return DiskScanner(ScanOptions::forVolume(root), 2).scan(root);
    }();
    return tree;
}

constexpr std::int64_t day = 86400;

SearchQuery query(int which) {
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    switch (which) {
    case 0:
        return {"readme", 0, std::nullopt}; // a word, few matches
    case 1:
        return {"e", 0, std::nullopt}; // one letter, most names match
    case 2:
        return {"*.JPG", 0, std::nullopt}; // a glob with a literal part
    case 3:
        return {"img_[0-9]*", 0, std::nullopt}; // a glob nothing can narrow
    case 4:
        return {"", 1 << 20, std::nullopt}; // larger than 1 MB
    case 5:
        return {"", 0, now - 365 * day}; // not modified for a year
    default:
        return {"a", 100 << 10, now - 30 * day}; // a letter and both filters
    }
}

void search(benchmark::State& state) {
    std::setlocale(LC_ALL, "C.UTF-8"); // as the window runs, with a multibyte locale
    const FileTree& tree = corpus();
    TreeSearch searcher(tree);
    const SearchQuery asked = query(static_cast<int>(state.range(0)));
    std::size_t matches = 0;
    for (auto _ : state) {
        const auto results = searcher.run(asked, 500);
        matches = results.matchCount;
        benchmark::DoNotOptimize(results.hits.data());
    }
    state.SetLabel("'" + asked.name + "'" + (asked.largerThan ? " larger" : "") +
                   (asked.notModifiedSince ? " old" : ""));
    state.counters["nodes"] = static_cast<double>(tree.count());
    state.counters["matches"] = static_cast<double>(matches);
}
BENCHMARK(search)->DenseRange(0, 6)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

// File kinds: classifying every file of a million-entry tree by name and summing each kind
// into every folder, and then reading one folder's figures. Set AMBREL_BENCH_CORPUS to a
// folder (a make-tree corpus) to time a scan of it as well.
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleServices/TreeKinds.hpp"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

using brantle::FileTree;
using brantle::KindClassifier;
using brantle::NodeFlags;
using brantle::NodeId;
using brantle::TreeKinds;

namespace {

// A home's mix: cameras' upper-case names, versioned libraries, hashed cache entries with no
// extension, bare names like Makefile, dotfiles and long names with dots inside.
constexpr auto patterns = std::to_array<std::string_view>({
    "IMG_#.JPG",     "photo #.jpeg",   "track-#.mp3", "clip#.MP4",
    "report #.pdf",  "notes-#.txt",    "main#.cpp",   "index#.js",
    "lib#.so.1.2",   "backup#.tar.gz", "#",           "Makefile",
    "data#.bin",     ".bashrc",        "module#.py",  "README",
    "2023-01-#.log", "page#.html",     "a#b#c#d#e#",  "v1.#.tar.zst",
    "slides#.pptx",  "setup#.deb",     "cache#.tmp",  "draft.#.md",
});

std::string nameFor(std::size_t i) {
    const auto pattern = patterns[i % patterns.size()];
    std::string name;
    for (const char c : pattern)
        if (c == '#')
            name += std::to_string(i * 2654435761u % 1000003u);
        else
            name += c;
    return name;
}

// Every 16th node a folder in a 16-ary tree of folders; files under the most recent one.
FileTree homeLike(std::size_t nodes) {
    FileTree tree("/bench");
    tree.reserve(nodes);
    std::vector<NodeId> folders{0};
    for (std::size_t i = 1; i < nodes; ++i) {
        const bool isFolder = i % 16 == 0;
        const NodeId parent = isFolder ? folders[folders.size() / 16] : folders.back();
        const NodeId id =
            tree.append(parent, isFolder ? "folder" : nameFor(i), isFolder ? 0 : 4096 * (1 + i % 7),
                        0, i, isFolder ? NodeFlags::directory : NodeFlags{});
        if (isFolder) folders.push_back(id);
    }
    tree.propagateSizes();
    return tree;
}

void classify(benchmark::State& state, const FileTree& tree) {
    { // the MIME database is loaded once per process, on its first question
        KindClassifier warm;
        benchmark::DoNotOptimize(warm.kindOf("x.jpg"));
    }
    for (auto _ : state) {
        KindClassifier classifier; // a fresh cache, as each new tree gets
        const auto kinds = TreeKinds::of(tree, classifier);
        benchmark::DoNotOptimize(kinds.sizes(FileTree::root));
    }
    state.counters["nodes"] = static_cast<double>(tree.count());
}

void BM_KindsOfTree(benchmark::State& state) {
    static const FileTree tree = homeLike(static_cast<std::size_t>(state.range(0)));
    classify(state, tree);
}
BENCHMARK(BM_KindsOfTree)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_KindsOfCorpus(benchmark::State& state) {
    const char* corpus = std::getenv("AMBREL_BENCH_CORPUS");
    if (!corpus) {
        state.SkipWithError("AMBREL_BENCH_CORPUS is not set");
        return;
    }
    static const FileTree tree = brantle::DiskScanner(brantle::ScanOptions{}, 2).scan(corpus);
    classify(state, tree);
}
BENCHMARK(BM_KindsOfCorpus)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FolderSizes(benchmark::State& state) {
    static const FileTree tree = homeLike(1'000'000);
    KindClassifier classifier;
    const auto kinds = TreeKinds::of(tree, classifier);
    NodeId node = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(kinds.sizes(node));
        node = (node + 4099) % static_cast<NodeId>(tree.count());
    }
}
BENCHMARK(BM_FolderSizes);

} // namespace

// File tree hot paths: bulk append, size propagation, compaction, path lookup, sorting.
#include "BrantleCore/FileTree.hpp"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

using brantle::FileTree;
using brantle::NodeFlags;
using brantle::NodeId;

namespace {

constexpr std::size_t fanOut = 16;

// Writes "entry-" and i as 15 digits (21 bytes) without the cost of printf.
void writeName(char* out, std::size_t i) {
    std::memcpy(out, "entry-", 6);
    for (int k = 20; k >= 6; --k, i /= 10)
        out[k] = static_cast<char>('0' + i % 10);
}

// A home-like shape: every 16th node is a folder, placed in a 16-ary tree of folders;
// files hang under the most recent folder.
void fill(FileTree& tree, std::size_t nodes, bool reserve) {
    if (reserve) tree.reserve(nodes);
    std::vector<NodeId> folders{0};
    folders.reserve(nodes / fanOut + 1);
    char name[21];
    for (std::size_t i = 1; i < nodes; ++i) {
        writeName(name, i);
        const bool isFolder = i % fanOut == 0;
        const NodeId parent = isFolder ? folders[folders.size() / fanOut] : folders.back();
        const NodeId id = tree.append(parent, {name, sizeof name}, isFolder ? 0 : 4096 + i % 8192,
                                      0, i, isFolder ? NodeFlags::directory : NodeFlags{});
        if (isFolder) folders.push_back(id);
    }
}

void appendAfterReserve(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        FileTree tree("/bench");
        fill(tree, n, true);
        benchmark::DoNotOptimize(tree.count());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(appendAfterReserve)->Arg(10'000'000)->Unit(benchmark::kMillisecond)->Iterations(3);

void appendWithoutReserve(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        FileTree tree("/bench");
        fill(tree, n, false);
        benchmark::DoNotOptimize(tree.count());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(appendWithoutReserve)->Arg(10'000'000)->Unit(benchmark::kMillisecond)->Iterations(3);

void propagateSizes(benchmark::State& state) {
    FileTree tree("/bench");
    fill(tree, static_cast<std::size_t>(state.range(0)), true);
    for (auto _ : state) {
        tree.propagateSizes();
        benchmark::DoNotOptimize(tree.size(0));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(propagateSizes)->Arg(10'000'000)->Unit(benchmark::kMillisecond);

void compacted(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    FileTree tree("/bench");
    fill(tree, n, true);
    tree.propagateSizes();
    std::mt19937 rng(7);
    for (std::size_t i = 0; i < n / 10; ++i)
        tree.remove(1 + rng() % (n - 1));
    for (auto _ : state) {
        const FileTree copy = tree.compacted();
        benchmark::DoNotOptimize(copy.count());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(compacted)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

FileTree wideFolder(std::size_t children) {
    FileTree tree("/bench");
    const NodeId wide = tree.append(0, "wide", 0, 0, 0, NodeFlags::directory);
    for (std::size_t i = 0; i < children; ++i)
        tree.append(wide, "child-" + std::to_string(i), (i * 2654435761u) % 100000, 0, i,
                    NodeFlags{});
    tree.propagateSizes();
    return tree;
}

void nodeAtPathInWideFolder(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const FileTree tree = wideFolder(n);
    // The first appended child sits at the end of the list: the worst case of the linear search.
    const std::string path = "/bench/wide/child-0";
    for (auto _ : state)
        benchmark::DoNotOptimize(tree.node(path));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(nodeAtPathInWideFolder)->Arg(100'000)->Unit(benchmark::kMicrosecond);

void childrenBySize(benchmark::State& state) {
    const FileTree tree = wideFolder(static_cast<std::size_t>(state.range(0)));
    const NodeId wide = *tree.node("/bench/wide");
    for (auto _ : state)
        benchmark::DoNotOptimize(tree.childrenBySize(wide));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(childrenBySize)->Arg(100'000)->Unit(benchmark::kMicrosecond);

} // namespace

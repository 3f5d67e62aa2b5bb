// Ring hot paths: layout of a large tree and of a very wide folder, and the per-frame
// tessellation of a full five-ring layout.
#include "RingKit/RingAnimation.hpp"
#include "RingKit/RingLayout.hpp"
#include "RingKit/RingMorph.hpp"
#include "RingKit/RingTessellator.hpp"
#include "RingKit/Theme.hpp"

#include <benchmark/benchmark.h>

#include <numbers>
#include <random>
#include <string>

using brantle::FileTree;
using brantle::NodeFlags;
using brantle::NodeId;
using namespace ringkit;

namespace {

constexpr double minAngle = RingLayout::defaultMinAngle;

// A home-like tree: a dozen top folders filled breadth first (each folder 0-6 subfolders
// and 2-30 files, at most 12 deep), one folder of 20,000 thumbnails, most files 0-8 KiB and
// one in 25,000 of 1-8 MiB.
FileTree homeLike(std::size_t nodes) {
    std::mt19937_64 random(7);
    FileTree tree("/home/bench");
    tree.reserve(nodes);
    std::vector<std::pair<NodeId, int>> queue;
    for (const char* top : {"Documents", "Downloads", "Pictures", "Music", "Videos", "Desktop",
                            "projects", ".cache", ".config", ".local", "share", "src"})
        queue.emplace_back(tree.append(0, top, 0, 0, 0, NodeFlags::directory), 1);
    const NodeId wide = tree.append(queue[7].first, "thumbnails", 0, 0, 0, NodeFlags::directory);
    for (int i = 0; i < 20'000; ++i)
        tree.append(wide, "t" + std::to_string(i), 4096 + random() % 8192, 0, 0, NodeFlags{});
    const auto fileBytes = [&random]() -> std::uint64_t {
        return random() % 25'000 == 0 ? (1u << 20) + random() % (7u << 20) : random() % 8192;
    };
    for (std::size_t next = 0; tree.count() < nodes; ++next) {
        const auto [folder, depth] = queue[next % queue.size()];
        const auto files = 2 + random() % 29;
        for (std::size_t i = 0; i < files && tree.count() < nodes; ++i)
            tree.append(folder, "f" + std::to_string(tree.count()), fileBytes(), 0, 0, NodeFlags{});
        const auto subfolders = depth < 12 ? random() % 7 : 0;
        for (std::size_t i = 0; i < subfolders && tree.count() < nodes; ++i)
            queue.emplace_back(tree.append(folder, "d" + std::to_string(tree.count()), 0, 0, 0,
                                           NodeFlags::directory),
                               depth + 1);
    }
    tree.propagateSizes();
    return tree;
}

const FileTree& millionTree() {
    static const FileTree tree = homeLike(1'000'000);
    return tree;
}

void layoutMillionRoot(benchmark::State& state) {
    const FileTree& tree = millionTree();
    std::size_t segments = 0;
    for (auto _ : state) {
        const auto out = RingLayout::layout(tree, 0, 5, minAngle);
        segments = out.size();
        benchmark::DoNotOptimize(out.data());
    }
    state.counters["segments"] = static_cast<double>(segments);
}
BENCHMARK(layoutMillionRoot)->Unit(benchmark::kMicrosecond);

// One folder of 100,000 files: a few big ones get slices, the rest merge.
void layoutWideFolder(benchmark::State& state) {
    std::mt19937_64 random(3);
    FileTree tree("/wide");
    const NodeId folder = tree.append(0, "folder", 0, 0, 0, NodeFlags::directory);
    for (int i = 0; i < 100'000; ++i) {
        const std::uint64_t bytes =
            i % 1000 == 0 ? 50'000'000 + random() % 50'000'000 : random() % 65'536;
        tree.append(folder, "f" + std::to_string(i), bytes, 0, 0, NodeFlags{});
    }
    tree.propagateSizes();
    std::size_t segments = 0;
    for (auto _ : state) {
        const auto out = RingLayout::layout(tree, folder, 5, minAngle);
        segments = out.size();
        benchmark::DoNotOptimize(out.data());
    }
    state.counters["segments"] = static_cast<double>(segments);
}
BENCHMARK(layoutWideFolder)->Unit(benchmark::kMicrosecond);

// Five full rings of half-degree slices: the most slices the layout can produce.
std::vector<RingSegment> densestRings() {
    std::vector<RingSegment> out;
    for (int depth = 1; depth <= 5; ++depth)
        for (int i = 0; i < 720; ++i)
            out.push_back({RingSegment::Kind::node(static_cast<NodeId>(depth * 1000 + i)), depth,
                           i * minAngle, (i + 1) * minAngle, 1, i % 8});
    return out;
}

void tessellate(benchmark::State& state, const std::vector<RingSegment>& segments) {
    std::vector<RingSlice> slices;
    for (const auto& s : segments)
        slices.push_back({s.start, s.end, static_cast<double>(s.depth), Theme::color(s, false), 1});
    std::vector<RingVertex> vertices;
    for (auto _ : state) {
        RingTessellator::tessellate(slices, 1000, vertices);
        benchmark::DoNotOptimize(vertices.data());
    }
    state.counters["slices"] = static_cast<double>(slices.size());
    state.counters["vertices"] = static_cast<double>(vertices.size());
}

void tessellateMillionRoot(benchmark::State& state) {
    tessellate(state, RingLayout::layout(millionTree(), 0, 5, minAngle));
}
BENCHMARK(tessellateMillionRoot)->Unit(benchmark::kMicrosecond);

void tessellateDensestRings(benchmark::State& state) {
    tessellate(state, densestRings());
}
BENCHMARK(tessellateDensestRings)->Unit(benchmark::kMicrosecond);

// A whole animation frame mid-morph: interpolation, colours, fading slices, tessellation.
void morphFrame(benchmark::State& state) {
    const FileTree& tree = millionTree();
    const auto root = RingLayout::layout(tree, 0, 5, minAngle);
    const NodeId biggest = tree.childrenBySize(0).front();
    RingAnimation animation;
    animation.setSegments(root, RingMorph::parentsOf(tree), 0.0, true);
    animation.setSegments(RingLayout::layout(tree, biggest, 5, minAngle),
                          RingMorph::parentsOf(tree), 1.0, false);
    for (auto _ : state) {
        animation.frame(1.1, 1000, false);
        benchmark::DoNotOptimize(animation.vertices().data());
    }
    state.counters["vertices"] = static_cast<double>(animation.vertices().size());
}
BENCHMARK(morphFrame)->Unit(benchmark::kMicrosecond);

void morphPair(benchmark::State& state) {
    const FileTree& tree = millionTree();
    const auto root = RingLayout::layout(tree, 0, 5, minAngle);
    const auto zoomed = RingLayout::layout(tree, tree.childrenBySize(0).front(), 5, minAngle);
    for (auto _ : state) {
        const auto morph = RingMorph::pair(root, zoomed, RingMorph::parentsOf(tree));
        benchmark::DoNotOptimize(morph.pairs.data());
    }
}
BENCHMARK(morphPair)->Unit(benchmark::kMicrosecond);

} // namespace

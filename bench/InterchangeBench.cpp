// ncdu export and import of a scanned corpus (default 1,000,000 entries, made with
// bench/make-tree when missing), and the diff of two 1 M-entry trees: the scan against
// a copy with a thousand files resized and ten folders removed.
//
// AMBREL_BENCH_CORPUS names the corpus folder (default $TMPDIR/ambrel-corpus-1000000).
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/Snapshot.hpp"
#include "BrantleCore/TreeDiff.hpp"
#include "BrantleServices/NcduReader.hpp"
#include "BrantleServices/NcduWriter.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

using namespace brantle;
namespace fs = std::filesystem;

namespace {

std::string corpusPath() {
    if (const char* path = std::getenv("AMBREL_BENCH_CORPUS")) return path;
    const char* tmp = std::getenv("TMPDIR");
    return std::string(tmp ? tmp : "/tmp") + "/ambrel-corpus-1000000";
}

/// The corpus scanned once, its ncdu export in a temporary folder, and a changed copy.
struct Corpus {
    std::string folder;
    std::string exported;
    FileTree tree{"/", FileTree::empty};
    FileTree changed{"/", FileTree::empty};
    SnapshotMeta meta;

    Corpus() {
        const std::string root = corpusPath();
        if (!fs::exists(root)) {
            const std::string make =
                "python3 '" AMBREL_MAKE_TREE "' --entries 1000000 '" + root + "'";
            if (std::system(make.c_str()) != 0) std::abort();
        }
        std::string pattern = (fs::temp_directory_path() / "ambrel-ncdu-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        folder = pattern;
        exported = folder + "/corpus.json";
        tree = DiskScanner(ScanOptions::forVolume(root), 2).scan(root);
        meta = {tree.rootPath(), 0, 0};
        if (!NcduWriter::save(tree, meta, exported)) std::abort();
        auto copy = Snapshot::decode(Snapshot::encode(tree, meta));
        if (!copy) std::abort();
        changed = std::move(copy->tree);
        change(changed);
    }
    ~Corpus() { fs::remove_all(folder); }

    static void change(FileTree& tree) {
        const NodeId step = static_cast<NodeId>(tree.count() / 1000);
        int removed = 0;
        for (NodeId id = step; id < tree.count(); id += step) {
            if (tree.flags(id) == NodeFlags::directory && removed < 10) {
                tree.remove(id);
                ++removed;
            } else if (tree.flags(id).isEmpty()) {
                tree.update(id, tree.size(id) + 4096 * (id % 7), tree.mtime(id));
            }
        }
        tree.propagateSizes();
    }
};

Corpus& corpus() {
    static Corpus shared;
    return shared;
}

void BM_NcduExportAndSave(benchmark::State& state) {
    Corpus& c = corpus();
    for (auto _ : state) {
        if (!NcduWriter::save(c.tree, c.meta, c.exported)) state.SkipWithError("save failed");
    }
    state.counters["nodes"] = static_cast<double>(c.tree.count());
    state.counters["fileMiB"] = static_cast<double>(fs::file_size(c.exported)) / (1 << 20);
}

void BM_NcduLoadAndImport(benchmark::State& state) {
    Corpus& c = corpus();
    for (auto _ : state) {
        auto imported = NcduReader::load(c.exported);
        if (!imported || imported->tree.count() != c.tree.count())
            state.SkipWithError("import failed");
        benchmark::DoNotOptimize(imported);
    }
    state.counters["nodes"] = static_cast<double>(c.tree.count());
}

void BM_DiffTrees(benchmark::State& state) {
    Corpus& c = corpus();
    std::size_t changes = 0;
    for (auto _ : state)
        changes = diffTrees(c.tree, c.changed).size();
    state.counters["nodes"] = static_cast<double>(c.tree.count());
    state.counters["changes"] = static_cast<double>(changes);
}

// What the window does with a pair: the changes laid onto the newer tree's ids, and the
// fifty largest with their paths.
void BM_CompareTrees(benchmark::State& state) {
    Corpus& c = corpus();
    for (auto _ : state) {
        auto comparison = compareTrees(c.tree, c.changed, 50);
        benchmark::DoNotOptimize(comparison);
    }
    state.counters["nodes"] = static_cast<double>(c.tree.count());
}

} // namespace

BENCHMARK(BM_NcduExportAndSave)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_NcduLoadAndImport)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_DiffTrees)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_CompareTrees)->Unit(benchmark::kMillisecond)->Iterations(3);

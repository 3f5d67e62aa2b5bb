// Snapshot store and change catch-up on a generated corpus (default 1,000,000 entries, made
// with bench/make-tree when missing): snapshot size, encode-and-save, load-and-decode,
// and a catch-up after changes in ten folders against a full rescan of the same corpus.
//
// AMBREL_BENCH_CORPUS names the corpus folder (default $TMPDIR/ambrel-corpus-1000000). The
// catch-up benchmark adds a file, a subfolder and a rename in ten folders and undoes them
// afterwards, so a shared corpus keeps its contents.
#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <time.h>
#include <unistd.h>

using namespace brantle;
namespace fs = std::filesystem;

namespace {

constexpr int workers = 2;
constexpr std::size_t changedFolders = 10;

std::string corpusPath() {
    if (const char* path = std::getenv("AMBREL_BENCH_CORPUS")) return path;
    const char* tmp = std::getenv("TMPDIR");
    return std::string(tmp ? tmp : "/tmp") + "/ambrel-corpus-1000000";
}

/// CPU time of all the process's threads: steadier than wall time on a shared machine.
double processCpuMs() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// The corpus scanned once, and a snapshot of it in a temporary folder.
struct Corpus {
    std::string root;
    std::string folder;   ///< temporary folder holding the snapshot
    std::string snapshot; ///< the snapshot file
    FileTree tree{"/", FileTree::empty};
    SnapshotMeta meta;

    Corpus() : root(corpusPath()) {
        if (!fs::exists(root)) {
            const std::string make =
                "python3 '" AMBREL_MAKE_TREE "' --entries 1000000 '" + root + "'";
            if (std::system(make.c_str()) != 0) std::abort();
        }
        std::string pattern = (fs::temp_directory_path() / "ambrel-snapshot-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        folder = pattern;
        snapshot = folder + "/corpus.brs";
        const auto eventID = ChangeHistory::currentEventID();
        tree = DiskScanner(ScanOptions::forVolume(root), workers).scan(root);
        meta = {tree.rootPath(), 0, eventID};
        if (!Snapshot::save(tree, meta, snapshot)) std::abort();
    }
    ~Corpus() { fs::remove_all(folder); }
};

Corpus& corpus() {
    static Corpus shared;
    return shared;
}

/// Ten readable folders spread evenly over the tree, each holding at least one file.
std::vector<NodeId> spreadFolders(const FileTree& tree) {
    std::vector<NodeId> candidates;
    for (NodeId id = 1; id < tree.count(); ++id) {
        if (tree.flags(id) != NodeFlags::directory) continue;
        const NodeId child = tree.firstChild(id);
        if (child != FileTree::none && tree.flags(child) == NodeFlags{} &&
            tree.nameBytes(child).size() < 100)
            candidates.push_back(id);
    }
    std::vector<NodeId> chosen;
    for (std::size_t i = 0; i < changedFolders && !candidates.empty(); ++i)
        chosen.push_back(candidates[(2 * i + 1) * candidates.size() / (2 * changedFolders)]);
    return chosen;
}

/// In each folder: one new file, one new subfolder with two files, one file renamed.
class TenChanges {
public:
    explicit TenChanges(const FileTree& tree) {
        for (const NodeId folder : spreadFolders(tree))
            folders_.push_back({tree.rawPath(folder), tree.rawPath(tree.firstChild(folder))});
    }
    void apply() const {
        for (const auto& [folder, file] : folders_) {
            write(folder + "/ambrel-bench-new.txt", 5000);
            fs::create_directory(folder + "/ambrel-bench-sub");
            write(folder + "/ambrel-bench-sub/one", 3000);
            write(folder + "/ambrel-bench-sub/two", 9000);
            fs::rename(file, file + ".renamed");
        }
    }
    void undo() const {
        for (const auto& [folder, file] : folders_) {
            fs::remove(folder + "/ambrel-bench-new.txt");
            fs::remove_all(folder + "/ambrel-bench-sub");
            fs::rename(file + ".renamed", file);
        }
    }
    std::size_t size() const { return folders_.size(); }

private:
    static void write(const std::string& path, std::size_t bytes) {
        std::ofstream(path) << std::string(bytes, 'c');
    }
    std::vector<std::pair<std::string, std::string>> folders_;
};

void BM_SnapshotEncodeAndSave(benchmark::State& state) {
    Corpus& c = corpus();
    for (auto _ : state) {
        if (!Snapshot::save(c.tree, c.meta, c.snapshot)) state.SkipWithError("save failed");
    }
    state.counters["nodes"] = static_cast<double>(c.tree.count());
    state.counters["fileMiB"] = static_cast<double>(fs::file_size(c.snapshot)) / (1 << 20);
}

void BM_SnapshotEncode(benchmark::State& state) {
    Corpus& c = corpus();
    std::size_t size = 0;
    for (auto _ : state)
        size = Snapshot::encode(c.tree, c.meta).size();
    state.counters["fileMiB"] = static_cast<double>(size) / (1 << 20);
}

void BM_SnapshotLoadAndDecode(benchmark::State& state) {
    Corpus& c = corpus();
    for (auto _ : state) {
        auto loaded = Snapshot::load(c.snapshot);
        if (!loaded) state.SkipWithError("load failed");
        benchmark::DoNotOptimize(loaded);
    }
    state.counters["nodes"] = static_cast<double>(c.tree.count());
}

void BM_CatchUpTenChangedFolders(benchmark::State& state) {
    Corpus& c = corpus();
    const TenChanges changes(c.tree);
    DiskScanner scanner(ScanOptions::forVolume(c.root), workers);
    std::size_t reread = 0;
    std::chrono::duration<double, std::milli> walk{}, readAgain{};
    double walkCpu = 0;
    std::optional<Snapshot::Contents> loaded; // replaced, and freed, while the clock is paused
    for (auto _ : state) {
        state.PauseTiming();
        auto read = Snapshot::load(c.snapshot);
        if (!read) return state.SkipWithError("load failed");
        loaded.emplace(std::move(*read));
        changes.apply();
        state.ResumeTiming();

        const auto start = std::chrono::steady_clock::now();
        const double cpuAtStart = processCpuMs();
        const ChangeSet changed = ChangeHistory::changedDirectories(
            c.root, loaded->meta.fsEventID, std::chrono::seconds(20), loaded->tree);
        if (changed.needsFullRescan()) state.SkipWithError("the history asked for a rescan");
        const auto walked = std::chrono::steady_clock::now();
        walkCpu += processCpuMs() - cpuAtStart;
        std::vector<std::string> folders = DiskScanner::newlyReadable(loaded->tree);
        folders.insert(folders.end(), changed.directories.begin(), changed.directories.end());
        reread = scanner.rescan(loaded->tree, std::move(folders));
        walk += walked - start;
        readAgain += std::chrono::steady_clock::now() - walked;

        state.PauseTiming();
        changes.undo();
        state.ResumeTiming();
    }
    state.counters["changed"] = static_cast<double>(changes.size());
    state.counters["reread"] = static_cast<double>(reread);
    // Where the time goes: the walk that finds changed folders, and reading them again.
    state.counters["walkMs"] = walk.count() / static_cast<double>(state.iterations());
    state.counters["walkCpuMs"] = walkCpu / static_cast<double>(state.iterations());
    state.counters["rereadMs"] = readAgain.count() / static_cast<double>(state.iterations());
}

void BM_FullRescan(benchmark::State& state) {
    Corpus& c = corpus();
    DiskScanner scanner(ScanOptions::forVolume(c.root), workers);
    for (auto _ : state) {
        FileTree tree = scanner.scan(c.root);
        benchmark::DoNotOptimize(tree);
    }
}

} // namespace

BENCHMARK(BM_SnapshotEncodeAndSave)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_SnapshotEncode)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_SnapshotLoadAndDecode)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_CatchUpTenChangedFolders)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_FullRescan)->Unit(benchmark::kMillisecond)->Iterations(3);

// The scan engine's hot paths: the macOS bulk-attribute walk, one Linux folder read, and a
// whole scan of a generated corpus with one and two workers (warm cache).
#include "BrantleCore/BulkAttributes.hpp"
#include "BrantleCore/DirectoryReader.hpp"
#include "BrantleCore/DiskScanner.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace brantle;

namespace {

template <typename T> void put(std::vector<std::byte>& out, T value) {
    const auto* raw = reinterpret_cast<const std::byte*>(&value);
    out.insert(out.end(), raw, raw + sizeof value);
}

/// `count` file entries packed as getattrlistbulk returns them, 22-byte names.
std::vector<std::byte> packedFiles(std::uint32_t count) {
    std::vector<std::byte> buffer;
    const std::string name(22, 'n');
    for (std::uint32_t i = 0; i < count; ++i) {
        std::vector<std::byte> e;
        put(e, std::uint32_t{0});
        put(e, BulkAttributes::commonRequest & ~BulkAttributes::commonError);
        put(e, 0u);
        put(e, 0u);
        put(e, BulkAttributes::fileRequest);
        put(e, 0u);
        const std::size_t reference = e.size();
        put(e, std::int32_t{0});
        put(e, static_cast<std::uint32_t>(name.size() + 1));
        put(e, std::uint32_t{1});
        put(e, std::int64_t{1'700'000'000});
        put(e, std::int64_t{0});
        put(e, std::uint32_t{0});
        put(e, std::uint64_t{i});
        put(e, std::uint32_t{1});
        put(e, std::int64_t{4096});
        const auto offset = static_cast<std::int32_t>(e.size() - reference);
        std::memcpy(e.data() + reference, &offset, sizeof offset);
        for (char c : name)
            e.push_back(static_cast<std::byte>(c));
        e.push_back(std::byte{0});
        while (e.size() % 4)
            e.push_back(std::byte{0});
        const auto length = static_cast<std::uint32_t>(e.size());
        std::memcpy(e.data(), &length, sizeof length);
        buffer.insert(buffer.end(), e.begin(), e.end());
    }
    return buffer;
}

void BM_BulkAttributeWalk(benchmark::State& state) {
    const auto count = static_cast<std::uint32_t>(state.range(0));
    const auto buffer = packedFiles(count);
    DirEntryList list;
    for (auto _ : state) {
        list.clear();
        benchmark::DoNotOptimize(BulkAttributes::appendEntries(buffer, count, list));
        benchmark::DoNotOptimize(list.entries().data());
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_BulkAttributeWalk)->Arg(2000);

/// A folder made once under the temporary directory and reused by later runs.
std::string cachedFolder(const std::string& name) {
    return (std::filesystem::temp_directory_path() / name).string();
}

void BM_ReadFolder(benchmark::State& state) {
    const std::string folder = cachedFolder("ambrel-bench-folder-10000");
    if (!std::filesystem::exists(folder + "/9999-file-with-a-longer-name")) {
        std::filesystem::create_directories(folder);
        for (int i = 0; i < 10000; ++i)
            std::ofstream(folder + "/" + std::to_string(i) + "-file-with-a-longer-name") << i;
    }
    DirectoryReader reader;
    std::size_t entries = 0;
    for (auto _ : state) {
        const int fd = openDirectory(folder);
        const auto listing = reader.read(fd);
        close(fd);
        entries = listing ? listing->size() : 0;
        benchmark::DoNotOptimize(entries);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * entries));
}
BENCHMARK(BM_ReadFolder)->Unit(benchmark::kMillisecond);

void BM_Scan(benchmark::State& state) {
    const std::string corpus = cachedFolder("ambrel-bench-corpus-50000");
    if (!std::filesystem::exists(corpus + ".made")) {
        std::filesystem::remove_all(corpus);
        const std::string make = "python3 " AMBREL_MAKE_TREE " --entries 50000 '" + corpus +
                                 "' >/dev/null && touch '" + corpus + ".made'";
        if (std::system(make.c_str()) != 0) {
            state.SkipWithError("make-tree failed");
            return;
        }
    }
    DiskScanner scanner(ScanOptions::forVolume(corpus), static_cast<int>(state.range(0)));
    std::size_t nodes = 0;
    for (auto _ : state) {
        const FileTree tree = scanner.scan(corpus);
        nodes = tree.count();
        benchmark::DoNotOptimize(tree.size(FileTree::root));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * nodes));
}
BENCHMARK(BM_Scan)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

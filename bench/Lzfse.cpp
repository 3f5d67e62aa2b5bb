// Encode and decode speed of the LZFSE codec on a reference vector and on a generated
// snapshot-shaped input, with the output buffers allocated once outside the timed loop.
// MB/s count uncompressed bytes.
#include "Lzfse/Lzfse.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes readVector(const std::string& name) {
    std::ifstream in(std::string(AMBREL_TEST_DATA) + "/lzfse/" + name + ".bin", std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

template <typename T> void appendColumn(Bytes& out, std::size_t count, auto value) {
    for (std::size_t i = 0; i < count; ++i) {
        const T v = static_cast<T>(value(i));
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&v);
        out.insert(out.end(), bytes, bytes + sizeof v);
    }
}

/// 5 MiB laid out like a snapshot body: a path listing, little-endian columns of a
/// breadth-first tree (parents, sizes, times, inodes, flags), zeros, then text.
Bytes snapshotShaped() {
    constexpr std::size_t total = 5u << 20, nodes = 68000;
    std::mt19937_64 rng(7);
    Bytes out;
    while (out.size() < (256u << 10)) {
        const std::string line = "home/user/projects/app" + std::to_string(rng() % 40) +
                                 "/node_modules/pkg" + std::to_string(rng() % 900) + "/index.js\t" +
                                 std::to_string(rng() % 100000) + "\n";
        out.insert(out.end(), line.begin(), line.end());
    }
    appendColumn<std::uint32_t>(out, nodes, [](std::size_t i) { return i / 7; });
    appendColumn<std::uint64_t>(out, nodes, [&](std::size_t) { return (rng() % 64) * 4096; });
    appendColumn<std::int64_t>(out, nodes, [&](std::size_t) { return 1700000000 + rng() % 86400; });
    appendColumn<std::uint64_t>(out, nodes, [](std::size_t i) { return 1000000 + 3 * i; });
    appendColumn<std::uint16_t>(out, nodes, [&](std::size_t) { return rng() % 4; });
    out.resize(out.size() + (256u << 10), 0);
    // Text from the reference vector's words in a new order, so the tail does not repeat.
    const Bytes text = readVector("english_64k");
    std::vector<std::string> words;
    for (auto it = text.begin(); it != text.end();) {
        const auto space = std::find(it, text.end(), ' ');
        words.emplace_back(it, space == text.end() ? space : space + 1);
        it = space == text.end() ? space : space + 1;
    }
    while (out.size() < total && !words.empty()) {
        const auto& word = words[rng() % words.size()];
        out.insert(out.end(), word.begin(), word.end());
    }
    out.resize(total);
    return out;
}

Bytes input(const std::string& name) {
    return name == "snapshot_5m" ? snapshotShaped() : readVector(name);
}

void reportRatio(benchmark::State& state, const Bytes& raw, const Bytes& stream) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * raw.size()));
    state.counters["ratio"] = static_cast<double>(raw.size()) / static_cast<double>(stream.size());
}

void encode(benchmark::State& state, const std::string& name) {
    const Bytes raw = input(name);
    if (raw.empty()) return state.SkipWithError("vector missing");
    Bytes stream;
    lzfse::encode(raw, stream);
    for (auto _ : state) {
        lzfse::encode(raw, stream);
        benchmark::DoNotOptimize(stream.data());
    }
    reportRatio(state, raw, stream);
}

void decode(benchmark::State& state, const std::string& name) {
    const Bytes raw = input(name);
    if (raw.empty()) return state.SkipWithError("vector missing");
    const Bytes stream = lzfse::encode(raw);
    Bytes output;
    if (!lzfse::decode(stream, output) || output != raw)
        return state.SkipWithError("round trip failed");
    for (auto _ : state) {
        const auto result = lzfse::decode(stream, output);
        benchmark::DoNotOptimize(result);
        benchmark::DoNotOptimize(output.data());
    }
    reportRatio(state, raw, stream);
}

} // namespace

BENCHMARK_CAPTURE(encode, snapshot_5m, std::string("snapshot_5m"))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(decode, snapshot_5m, std::string("snapshot_5m"))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(encode, english_64k, std::string("english_64k"))->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(decode, english_64k, std::string("english_64k"))->Unit(benchmark::kMicrosecond);

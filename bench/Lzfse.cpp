// Encode and decode speed of the LZFSE codec on the reference vectors, with the output
// buffers allocated once outside the timed loop. MB/s count uncompressed bytes.
#include "Lzfse/Lzfse.hpp"

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes readVector(const std::string& name) {
    std::ifstream in(std::string(AMBREL_SHARED_DIR) + "/testdata/lzfse/" + name + ".bin",
                     std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void reportRatio(benchmark::State& state, const Bytes& raw, const Bytes& stream) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * raw.size()));
    state.counters["ratio"] = static_cast<double>(raw.size()) / static_cast<double>(stream.size());
}

void encode(benchmark::State& state, const std::string& name) {
    const Bytes raw = readVector(name);
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
    const Bytes raw = readVector(name);
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

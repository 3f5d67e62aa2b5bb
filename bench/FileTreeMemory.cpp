// Resident memory per node of a 10-million-node tree with 22-byte names, with and without
// reserve. Each case runs in a fresh child process so that its peak is its own.
#include "BrantleCore/FileTree.hpp"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

using brantle::FileTree;
using brantle::NodeFlags;
using brantle::NodeId;

namespace {

long statusKiB(const char* field) {
    std::FILE* f = std::fopen("/proc/self/status", "r");
    if (!f) return -1;
    char line[256];
    long value = -1;
    const std::size_t len = std::strlen(field);
    while (std::fgets(line, sizeof line, f)) {
        if (std::strncmp(line, field, len) == 0) value = std::atol(line + len + 1);
    }
    std::fclose(f);
    return value;
}

struct Usage {
    double rssPerNode;
    double peakPerNode;
};

Usage measureInChild(std::size_t nodes, bool reserve) {
    int fds[2];
    if (pipe(fds) != 0) return {-1, -1};
    const pid_t pid = fork();
    if (pid == 0) {
        const long before = statusKiB("VmRSS:");
        FileTree tree("/bench");
        if (reserve) tree.reserve(nodes);
        char name[32];
        NodeId folder = 0;
        for (std::size_t i = 1; i < nodes; ++i) {
            std::snprintf(name, sizeof name, "entry-%016zu", i); // 22 bytes
            const bool isFolder = i % 16 == 0;
            const NodeId id = tree.append(folder, name, 4096, 0, i,
                                          isFolder ? NodeFlags::directory : NodeFlags{});
            if (isFolder) folder = id;
        }
        const double rss = static_cast<double>(statusKiB("VmRSS:") - before) * 1024.0;
        const double peak = static_cast<double>(statusKiB("VmHWM:") - before) * 1024.0;
        const Usage usage{rss / static_cast<double>(nodes), peak / static_cast<double>(nodes)};
        (void)!write(fds[1], &usage, sizeof usage);
        _exit(0);
    }
    close(fds[1]);
    Usage usage{-1, -1};
    (void)!read(fds[0], &usage, sizeof usage);
    close(fds[0]);
    waitpid(pid, nullptr, 0);
    return usage;
}

void residentBytesPerNode(benchmark::State& state) {
    const bool reserve = state.range(0) != 0;
    Usage usage{};
    for (auto _ : state)
        usage = measureInChild(10'000'000, reserve);
    state.counters["rss_per_node"] = usage.rssPerNode;
    state.counters["peak_per_node"] = usage.peakPerNode;
    state.counters["budget_per_node"] = 44 + 22;
    state.SetLabel(reserve ? "after reserve" : "without reserve");
}
BENCHMARK(residentBytesPerNode)->Arg(1)->Arg(0)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

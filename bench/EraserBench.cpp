// Eraser on 200,000 small files in 2,000 folders: the time until erase() returns (a rename)
// and until the background deletion has finished, against `rm -rf` of an identical tree made
// in the same run. The trees live under $TMPDIR (or /tmp). One round by default: making two
// trees of 200,000 files dominates the run; with one, rm -rf gets the more recently made tree.
#include "BrantleServices/DeletionGuard.hpp"
#include "BrantleServices/Eraser.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace brantle;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int folders = 2000;
constexpr int filesPerFolder = 100;

void makeTree(const std::string& root) {
    ::mkdir(root.c_str(), 0755);
    const char text[64] = "a small file";
    for (int d = 0; d < folders; ++d) {
        const auto folder = root + "/folder" + std::to_string(d);
        ::mkdir(folder.c_str(), 0755);
        const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (int f = 0; f < filesPerFolder; ++f) {
            const auto name = "file" + std::to_string(f) + ".txt";
            const int fd = ::openat(dir, name.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
            if (fd >= 0 && ::write(fd, text, sizeof text) < 0) std::abort();
            ::close(fd);
        }
        ::close(dir);
    }
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double rmRf(const std::string& path) {
    const auto start = Clock::now();
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::execlp("rm", "rm", "-rf", path.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return secondsSince(start);
}

GuardedRemoval allowed(const std::string& path) {
    auto profile = PlatformProfile::linux();
    profile.isMountPoint = nullptr;
    const DeletionGuard guard("/nonexistent", "/nonexistent", nullptr,
                              std::make_shared<const PlatformProfile>(std::move(profile)));
    const auto verdict = guard.check(path);
    if (!verdict.isAllowed()) std::abort();
    return *verdict.removal();
}

void eraseVersusRmRf(benchmark::State& state) {
    const auto base = std::filesystem::temp_directory_path() / "ambrel-eraser-bench";
    std::filesystem::remove_all(base);
    std::filesystem::create_directories(base);
    Eraser eraser((base / "Erasing").string());
    double erase = 0, idle = 0, rm = 0;
    int round = 0;
    for (auto _ : state) {
        // Alternate which copy is made last (warmer in the cache) and which goes first.
        const bool eraserFirst = round++ % 2 == 0;
        const auto erased = (base / (eraserFirst ? "a" : "b")).string();
        const auto copy = (base / (eraserFirst ? "b" : "a")).string();
        makeTree(base / "a");
        makeTree(base / "b");
        ::sync();
        if (!eraserFirst) rm += rmRf(copy);
        const std::vector removals{allowed(erased)};
        const auto start = Clock::now();
        if (!eraser.erase(removals)) std::abort();
        const double returned = secondsSince(start);
        eraser.waitUntilIdle();
        idle += secondsSince(start);
        erase += returned;
        if (eraserFirst) rm += rmRf(copy);
        state.SetIterationTime(returned);
    }
    const auto n = static_cast<double>(state.iterations());
    state.counters["erase_ms"] = erase / n * 1e3;
    state.counters["idle_ms"] = idle / n * 1e3;
    state.counters["rm_rf_ms"] = rm / n * 1e3;
    state.counters["idle_per_rm_rf"] = idle / rm;
    std::filesystem::remove_all(base);
}

} // namespace

BENCHMARK(eraseVersusRmRf)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

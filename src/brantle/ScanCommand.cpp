// brantle scan: scans a folder with the disk scanner, prints its totals and can save the
// result as a snapshot.
#include "Command.hpp"
#include "TreeReport.hpp"

#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <cstdio>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <optional>
#include <string>
#include <unistd.h>

namespace brantle::cli {

namespace {

struct ScanRequest {
    std::string path;
    int workers = 1;
    bool json = false;
    std::optional<std::string> snapshot; ///< where to save the result
};

std::optional<ScanRequest> parseRequest(Arguments args) {
    ScanRequest request;
    request.workers = activeProcessors();
    std::optional<std::string> path;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--json") {
            request.json = true;
        } else if (args[i] == "--workers") {
            if (i + 1 == args.size()) return std::nullopt;
            const auto workers = parseCount(args[++i]);
            if (!workers) return std::nullopt;
            request.workers = *workers;
        } else if (args[i] == "--save") {
            if (i + 1 == args.size()) return std::nullopt;
            request.snapshot = std::string(args[++i]);
        } else if (args[i].starts_with("--") || path) {
            return std::nullopt;
        } else {
            path = absolutePath(args[i]);
        }
    }
    if (!path || path->empty() || (request.snapshot && request.snapshot->empty()))
        return std::nullopt;
    request.path = *path;
    return request;
}

/// A one-line progress display, redrawn in place on a terminal.
void showProgress(const ScanProgress& progress) {
    std::fprintf(stderr, "\rScanning… %lld items, %s\033[K", static_cast<long long>(progress.files),
                 formatBytes(progress.bytes).c_str());
    std::fflush(stderr);
}

double secondsSince1970() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/// Large blocks (a worker's list of a very wide folder) go straight back to the system when
/// freed. By default glibc raises its mapping threshold after the first such free and then
/// keeps those blocks in the heap, adding megabytes to the peak of a scan.
void returnLargeBlocksToTheSystem() {
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 256 * 1024);
#endif
}

int runScan(Arguments args) {
    const auto request = parseRequest(args);
    if (!request) return usageError(scanCommand);
    returnLargeBlocksToTheSystem();
    DiskScanner scanner(ScanOptions::forVolume(request->path), request->workers);
    const bool live = !request->json && isatty(STDERR_FILENO);
    // Read before scanning, so that changes made while the scan runs are caught up later.
    const ChangeHistory::EventID eventID = ChangeHistory::currentEventID();
    FileTree tree = scanner.scan(request->path, 0,
                                 live ? DiskScanner::ProgressCallback(showProgress) : nullptr);
    if (live) std::fprintf(stderr, "\r\033[K");
    if (request->snapshot) {
        const SnapshotMeta meta{tree.rootPath(), secondsSince1970(), eventID};
        if (const auto saved = Snapshot::save(tree, meta, *request->snapshot); !saved) {
            std::fprintf(stderr, "brantle: cannot save snapshot %s: %s\n",
                         request->snapshot->c_str(), saved.error().message().c_str());
            return exitFailure;
        }
    }
    const ScanProgress totals = scanner.lastTotals();
    const double seconds = std::chrono::duration<double>(totals.elapsed).count();
    if (request->json) {
        QJsonObject object = totalsJson(tree, totals.files);
        object["seconds"] = seconds;
        if (request->snapshot) object["snapshot"] = QString::fromStdString(*request->snapshot);
        printJson(object);
        return exitOk;
    }
    std::printf("%s\n", tree.rootPath().c_str());
    char tail[64];
    std::snprintf(tail, sizeof tail, ", scanned in %.2f s", seconds);
    printTotals(tree, totals.files, tail);
    if (request->snapshot) std::printf("Snapshot saved to %s\n", request->snapshot->c_str());
    return exitOk;
}

} // namespace

const Command scanCommand{"scan", "scan PATH [--workers N] [--save FILE] [--json]", runScan};

} // namespace brantle::cli

// brantle scan: scans a folder with the disk scanner, prints its totals and can save the
// result as a snapshot.
#include "AdministratorScan.hpp"
#include "Command.hpp"
#include "ScanArguments.hpp"
#include "TreeReport.hpp"

#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/CatchUp.hpp"
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

/// Where the kept tree is held: a global the optimiser cannot drop, so leak checkers see
/// the tree reachable.
const FileTree* keptUntilExit = nullptr;

namespace {

/// A one-line progress display, redrawn in place on a terminal.
void showProgress(const ScanProgress& progress) {
    std::fprintf(stderr, "\rScanning… %lld items, %s\033[K", static_cast<long long>(progress.files),
                 formatBytes(progress.bytes).c_str());
    std::fflush(stderr);
}

/// Large blocks (a worker's list of a very wide folder) go straight back to the system when
/// freed. By default glibc raises its mapping threshold after the first such free and then
/// keeps those blocks in the heap, adding megabytes to the peak of a scan.
void returnLargeBlocksToTheSystem() {
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 256 * 1024);
#endif
}

/// The tree stays mapped until the process ends: the system takes its pages back at exit
/// faster than unmapping them column by column would, and nothing follows the report.
void keepUntilExit(FileTree tree) {
    keptUntilExit = new FileTree(std::move(tree));
}

int runScan(Arguments args) {
    if (asksForAdministrator(args)) return runAdministratorScan(args);
    auto request = ScanArguments::parse(args, true);
    if (!request) return usageError(scanCommand);
    request->operand = absolutePath(request->operand);
    if (!isReadableFolder(request->operand)) return exitFailure;
    returnLargeBlocksToTheSystem();
    DiskScanner scanner(ScanOptions::forVolume(request->operand), request->workers);
    const bool live = !request->json && isatty(STDERR_FILENO);
    CatchUpResult scanned = scanWithRecord(
        scanner, request->operand, 0, live ? DiskScanner::ProgressCallback(showProgress) : nullptr);
    if (live) std::fprintf(stderr, "\r\033[K");
    // Every entry scanned is a node: the scan's own count, with no pass over the tree.
    const std::int64_t entries = scanner.lastTotals().files;
    const FileTree& tree = scanned.tree;
    if (request->save) {
        if (const auto saved = Snapshot::save(tree, scanned.meta, *request->save); !saved) {
            std::fprintf(stderr, "brantle: cannot save snapshot %s: %s\n", request->save->c_str(),
                         saved.error().message().c_str());
            return exitFailure;
        }
    }
    const ScanProgress totals = scanner.lastTotals();
    const double seconds = std::chrono::duration<double>(totals.elapsed).count();
    if (request->json) {
        QJsonObject object = totalsJson(tree, entries);
        object["seconds"] = seconds;
        if (request->save) object["snapshot"] = QString::fromStdString(*request->save);
        printJson(object);
        keepUntilExit(std::move(scanned.tree));
        return exitOk;
    }
    std::printf("%s\n", tree.rootPath().c_str());
    char tail[64];
    std::snprintf(tail, sizeof tail, ", scanned in %.2f s", seconds);
    printTotals(tree, entries, tail);
    if (request->save) std::printf("Snapshot saved to %s\n", request->save->c_str());
    keepUntilExit(std::move(scanned.tree));
    return exitOk;
}

} // namespace

const Command scanCommand{"scan",
                          "scan PATH [--workers N] [--save FILE] [--json]\n"
                          "  brantle scan PATH --as-administrator [--helper PROGRAM] "
                          "[--batch-size BYTES] [--json]",
                          runScan};

} // namespace brantle::cli

// brantle scan: scans a folder with the disk scanner and prints its totals.
#include "Command.hpp"

#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/DiskScanner.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <charconv>
#include <cstdio>
#include <filesystem>
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
};

struct FlagCounts {
    std::int64_t unreadable = 0;
    std::int64_t mountPoints = 0;
    std::int64_t hardlinkDuplicates = 0;
    std::int64_t liveNodes = 0;
};

std::optional<int> parseCount(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0) return std::nullopt;
    return value;
}

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
        } else if (args[i].starts_with("--") || path) {
            return std::nullopt;
        } else {
            path = absolutePath(args[i]);
        }
    }
    if (!path || path->empty()) return std::nullopt;
    request.path = *path;
    return request;
}

FlagCounts countFlags(const FileTree& tree) {
    FlagCounts counts;
    for (const std::uint16_t bits : tree.columns().flagBits) {
        const NodeFlags flags(bits);
        if (flags.contains(NodeFlags::dead)) continue;
        ++counts.liveNodes;
        if (flags.contains(NodeFlags::unreadable)) ++counts.unreadable;
        if (flags.contains(NodeFlags::mountPoint)) ++counts.mountPoints;
        if (flags.contains(NodeFlags::hardlinkDuplicate)) ++counts.hardlinkDuplicates;
    }
    return counts;
}

std::vector<NodeId> largestChildren(const FileTree& tree) {
    auto children = tree.childrenBySize(FileTree::root);
    if (children.size() > 10) children.resize(10);
    return children;
}

void printJson(const FileTree& tree, const ScanProgress& totals) {
    const FlagCounts counts = countFlags(tree);
    QJsonArray largest;
    for (const NodeId child : largestChildren(tree)) {
        largest.append(QJsonObject{
            {"path", QString::fromStdString(tree.path(child))},
            {"bytes", static_cast<qint64>(tree.size(child))},
        });
    }
    const QJsonObject object{
        {"root", QString::fromStdString(tree.rootPath())},
        {"nodes", static_cast<qint64>(counts.liveNodes)},
        {"files", static_cast<qint64>(totals.files)},
        {"bytes", static_cast<qint64>(tree.size(FileTree::root))},
        {"seconds", std::chrono::duration<double>(totals.elapsed).count()},
        {"unreadable", static_cast<qint64>(counts.unreadable)},
        {"mountPoints", static_cast<qint64>(counts.mountPoints)},
        {"hardlinkDuplicates", static_cast<qint64>(counts.hardlinkDuplicates)},
        {"largest", largest},
    };
    const QByteArray text = QJsonDocument(object).toJson(QJsonDocument::Indented);
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
}

void printSummary(const FileTree& tree, const ScanProgress& totals) {
    const FlagCounts counts = countFlags(tree);
    std::printf("%s\n", tree.rootPath().c_str());
    std::printf("  %s in %lld items, scanned in %.2f s\n",
                formatBytes(tree.size(FileTree::root)).c_str(),
                static_cast<long long>(totals.files),
                std::chrono::duration<double>(totals.elapsed).count());
    std::printf("  unreadable: %lld, mount points not entered: %lld, hard-link duplicates: %lld\n",
                static_cast<long long>(counts.unreadable),
                static_cast<long long>(counts.mountPoints),
                static_cast<long long>(counts.hardlinkDuplicates));
    const auto largest = largestChildren(tree);
    if (!largest.empty()) std::printf("Largest:\n");
    for (const NodeId child : largest)
        std::printf("  %10s  %s\n", formatBytes(tree.size(child)).c_str(),
                    tree.path(child).c_str());
}

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

int runScan(Arguments args) {
    const auto request = parseRequest(args);
    if (!request) return usageError(scanCommand);
    returnLargeBlocksToTheSystem();
    DiskScanner scanner(ScanOptions::forVolume(request->path), request->workers);
    const bool live = !request->json && isatty(STDERR_FILENO);
    FileTree tree = scanner.scan(request->path, 0,
                                 live ? DiskScanner::ProgressCallback(showProgress) : nullptr);
    if (live) std::fprintf(stderr, "\r\033[K");
    if (request->json)
        printJson(tree, scanner.lastTotals());
    else
        printSummary(tree, scanner.lastTotals());
    return exitOk;
}

} // namespace

const Command scanCommand{"scan", "scan PATH [--workers N] [--json]", runScan};

} // namespace brantle::cli

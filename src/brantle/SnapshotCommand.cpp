// brantle snapshot: prints a snapshot file's record and the totals of the tree it holds.
#include "Command.hpp"
#include "TreeReport.hpp"

#include "BrantleCore/Snapshot.hpp"

#include <cstdio>
#include <optional>
#include <string>

namespace brantle::cli {

namespace {

struct SnapshotRequest {
    std::string file;
    bool json = false;
};

std::optional<SnapshotRequest> parseRequest(Arguments args) {
    SnapshotRequest request;
    std::optional<std::string> file;
    for (const std::string_view arg : args) {
        if (arg == "--json") {
            request.json = true;
        } else if (arg.starts_with("--") || file || arg.empty()) {
            return std::nullopt;
        } else {
            file = std::string(arg);
        }
    }
    if (!file) return std::nullopt;
    request.file = *file;
    return request;
}

/// Entries below the root: what a scan's file counter shows for the same tree.
std::int64_t entriesOf(const FileTree& tree) {
    const std::int64_t nodes = totalsOf(tree).liveNodes;
    return nodes > 0 ? nodes - 1 : 0;
}

int runSnapshot(Arguments args) {
    const auto request = parseRequest(args);
    if (!request) return usageError(snapshotCommand);
    const auto loaded = Snapshot::load(request->file);
    if (!loaded) {
        std::fprintf(stderr, "brantle: %s: %s\n", request->file.c_str(),
                     describe(loaded.error()).c_str());
        return exitFailure;
    }
    const FileTree& tree = loaded->tree;
    const SnapshotMeta& meta = loaded->meta;
    if (request->json) {
        QJsonObject object = totalsJson(tree, entriesOf(tree));
        object["scannedAt"] = meta.scannedAt;
        object["eventID"] = static_cast<qint64>(meta.fsEventID);
        printJson(object);
        return exitOk;
    }
    std::printf("%s\n", tree.rootPath().c_str());
    std::printf("  scanned at %s, event id %llu\n", utcTime(meta.scannedAt).c_str(),
                static_cast<unsigned long long>(meta.fsEventID));
    printTotals(tree, entriesOf(tree), "");
    return exitOk;
}

} // namespace

const Command snapshotCommand{"snapshot", "snapshot FILE [--json]", runSnapshot};

} // namespace brantle::cli

// brantle catch-up: brings a snapshot up to date with the changes since it was taken (or
// rescans when the change history cannot be trusted) and saves it back.
#include "Command.hpp"
#include "ScanArguments.hpp"
#include "TreeReport.hpp"

#include "BrantleCore/CatchUp.hpp"

#include <cstdio>
#include <optional>
#include <string>

namespace brantle::cli {

namespace {

/// How long the change history may take before the snapshot is rescanned instead.
constexpr std::chrono::seconds historyTimeout{20};

const char* modeName(CatchUpResult::Mode mode) {
    return mode == CatchUpResult::Mode::catchUp ? "catch-up" : "rescan";
}

int runCatchUp(Arguments args) {
    const auto request = ScanArguments::parse(args, false);
    if (!request) return usageError(catchUpCommand);
    auto loaded = Snapshot::load(request->operand);
    if (!loaded) {
        std::fprintf(stderr, "brantle: %s: %s\n", request->operand.c_str(),
                     describe(loaded.error()).c_str());
        return exitFailure;
    }
    const std::string root = loaded->tree.rootPath();
    DiskScanner scanner(ScanOptions::forVolume(root), request->workers);
    const auto started = std::chrono::steady_clock::now();
    CatchUpResult result = catchUp(scanner, std::move(*loaded), root, historyTimeout);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    if (const auto saved = Snapshot::save(result.tree, result.meta, request->operand); !saved) {
        std::fprintf(stderr, "brantle: cannot save snapshot %s: %s\n", request->operand.c_str(),
                     saved.error().message().c_str());
        return exitFailure;
    }
    const std::int64_t nodes = totalsOf(result.tree).liveNodes;
    const std::int64_t entries = nodes > 0 ? nodes - 1 : 0;
    if (request->json) {
        QJsonObject object = totalsJson(result.tree, entries);
        object["mode"] = modeName(result.mode);
        object["reread"] = static_cast<qint64>(result.reread);
        object["seconds"] = seconds;
        object["scannedAt"] = result.meta.scannedAt;
        object["eventID"] = static_cast<qint64>(result.meta.fsEventID);
        printJson(object);
        return exitOk;
    }
    std::printf("%s\n", result.tree.rootPath().c_str());
    std::printf("  %s: %zu folders read again in %.2f s\n", modeName(result.mode), result.reread,
                seconds);
    printTotals(result.tree, entries, "");
    return exitOk;
}

} // namespace

const Command catchUpCommand{"catch-up", "catch-up FILE [--workers N] [--json]", runCatchUp};

} // namespace brantle::cli

#include "AdministratorScan.hpp"

#include "TreeReport.hpp"

#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/Snapshot.hpp"
#include "HelperKit/AdminHelper.hpp"
#include "HelperKit/FrameCodec.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <unistd.h>

namespace brantle::cli {

namespace {

constexpr std::string_view flag = "--as-administrator";

struct AdministratorArguments {
    std::string path;
    helperkit::AdminHelper::Launch launch = helperkit::AdminHelper::Launch::installed();
    bool json = false;
};

std::optional<AdministratorArguments> parse(Arguments args) {
    AdministratorArguments parsed;
    std::optional<std::string> operand;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const bool hasValue = i + 1 < args.size();
        if (args[i] == flag) continue;
        if (args[i] == "--json") {
            parsed.json = true;
        } else if (args[i] == "--helper" && hasValue) {
            parsed.launch.program = absolutePath(args[++i]);
        } else if (args[i] == "--batch-size" && hasValue) {
            const auto size = parseCount(args[++i]);
            if (!size || *size < 1 || static_cast<std::size_t>(*size) > helperkit::maxBatchSize)
                return std::nullopt;
            parsed.launch.arguments = {"--batch-size", std::to_string(*size)};
        } else if (args[i].starts_with("--") || operand || args[i].empty()) {
            return std::nullopt;
        } else {
            operand = std::string(args[i]);
        }
    }
    if (!operand) return std::nullopt;
    parsed.path = absolutePath(*operand);
    return parsed;
}

int failure(const std::string& message) {
    std::fprintf(stderr, "brantle: %s\n", message.c_str());
    return exitFailure;
}

void showProgress(std::int64_t files, std::uint64_t bytes) {
    std::fprintf(stderr, "\rScanning as administrator… %lld items, %s\033[K",
                 static_cast<long long>(files), formatBytes(bytes).c_str());
    std::fflush(stderr);
}

} // namespace

bool asksForAdministrator(Arguments args) {
    return std::ranges::find(args, flag) != args.end();
}

int runAdministratorScan(Arguments args) {
    const auto request = parse(args);
    if (!request) return usageError(scanCommand);
    const auto started = std::chrono::steady_clock::now();
    helperkit::AdminHelper helper(request->launch);
    if (const auto readiness = helper.prepare();
        readiness.state != helperkit::AdminHelper::Readiness::State::ready)
        return failure("the administrator helper isn't available (" + readiness.message + ")");
    const auto client = helper.takeClient();
    const bool live = !request->json && isatty(STDERR_FILENO);
    auto blob = client->scan(
        request->path, live ? helperkit::HelperClient::ProgressCallback(showProgress) : nullptr);
    if (live) std::fprintf(stderr, "\r\033[K");
    const std::size_t batches = client->received();
    client->invalidate();
    if (!blob) return failure(blob.error().description());
    auto contents = Snapshot::decode(*blob);
    if (!contents)
        return failure("the helper's scan cannot be read: " + describe(contents.error()));
    const FileTree& tree = contents->tree;
    // A fresh scan has no removed nodes: every node but the root is an entry it added.
    const auto files = static_cast<std::int64_t>(tree.count()) - 1;
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    if (request->json) {
        QJsonObject object = totalsJson(tree, files);
        object["seconds"] = seconds;
        object["batches"] = static_cast<qint64>(batches);
        printJson(object);
        return exitOk;
    }
    std::printf("%s\n", tree.rootPath().c_str());
    char tail[96];
    std::snprintf(tail, sizeof tail, ", scanned as administrator in %.2f s (%zu %s)", seconds,
                  batches, batches == 1 ? "batch" : "batches");
    printTotals(tree, files, tail);
    return exitOk;
}

} // namespace brantle::cli

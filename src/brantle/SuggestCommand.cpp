// brantle suggest: scans a folder and prints the cleanup suggestions for it.
#include "Command.hpp"
#include "ScanArguments.hpp"

#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleServices/Locations.hpp"
#include "Shoreline/RunningApps.hpp"
#include "Shoreline/Shoreline.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <optional>
#include <string>

namespace brantle::cli {

namespace {

struct SuggestRequest {
    std::string path;
    std::string home;
    bool json = false;
};

std::optional<SuggestRequest> parseRequest(Arguments args) {
    SuggestRequest request;
    std::optional<std::string> path;
    std::optional<std::string> home;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--json") {
            request.json = true;
        } else if (args[i] == "--home") {
            if (i + 1 == args.size() || home) return std::nullopt;
            home = absolutePath(args[++i]);
        } else if (args[i].starts_with("--") || path || args[i].empty()) {
            return std::nullopt;
        } else {
            path = absolutePath(args[i]);
        }
    }
    request.home = home ? *home : absolutePath(Locations::homeDirectory());
    request.path = path ? *path : request.home;
    return request;
}

void printJson(const std::vector<shoreline::ShorelineCategory>& categories) {
    QJsonArray out;
    for (const auto& category : categories) {
        QJsonArray findings;
        for (const auto& finding : category.findings) {
            findings.append(QJsonObject{
                {"path", QString::fromStdString(finding.path)},
                {"bytes", static_cast<qint64>(finding.bytes)},
                {"safety", QString::fromUtf8(shoreline::safetyName(finding.safety).data())},
                {"reason", QString::fromStdString(finding.reason)},
            });
        }
        out.append(QJsonObject{
            {"id", QString::fromStdString(category.id)},
            {"title", QString::fromStdString(category.title)},
            {"total", static_cast<qint64>(category.total())},
            {"safeTotal", static_cast<qint64>(category.safeTotal())},
            {"findings", findings},
        });
    }
    const QByteArray text = QJsonDocument(out).toJson(QJsonDocument::Indented);
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
}

void printText(const std::vector<shoreline::ShorelineCategory>& categories) {
    if (categories.empty()) std::printf("No suggestions.\n");
    for (const auto& category : categories) {
        std::printf("%s: %s, %s safe\n", category.title.c_str(),
                    formatBytes(category.total()).c_str(),
                    formatBytes(category.safeTotal()).c_str());
        for (const auto& finding : category.findings) {
            const auto safety = shoreline::safetyName(finding.safety);
            std::printf("  %10s  %-7.*s  %s\n", formatBytes(finding.bytes).c_str(),
                        static_cast<int>(safety.size()), safety.data(), finding.path.c_str());
            std::printf("  %10s  %-7s  %s\n", "", "", finding.reason.c_str());
        }
    }
}

int runSuggest(Arguments args) {
    const auto request = parseRequest(args);
    if (!request) return usageError(suggestCommand);
    if (!isReadableFolder(request->path)) return exitFailure;
    DiskScanner scanner(ScanOptions::forVolume(request->path), activeProcessors());
    const FileTree tree = scanner.scan(request->path);
    const auto live = DeletionGuard::live();
    shoreline::ShorelineContext context(
        tree, request->home, DeletionGuard(request->home, live.appBundle(), live.isRunningApp()));
    context.runningBundleIDs = shoreline::RunningApps::bundleIDs();
    const auto categories = shoreline::Shoreline::analyze(context);
    if (request->json)
        printJson(categories);
    else
        printText(categories);
    return exitOk;
}

} // namespace

const Command suggestCommand{"suggest", "suggest [PATH] [--home H] [--json]", runSuggest};

} // namespace brantle::cli

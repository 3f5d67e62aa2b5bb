// brantle diff: what changed between two snapshots of a target, largest change first.
#include "Command.hpp"
#include "TreeReport.hpp"

#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/Snapshot.hpp"
#include "BrantleCore/TreeDiff.hpp"
#include "BrantleServices/JsonBytes.hpp"

#include <QJsonArray>

#include <cstdio>
#include <optional>
#include <string>

namespace brantle::cli {

namespace {

struct DiffRequest {
    std::string before;
    std::string after;
    bool json = false;
};

std::optional<DiffRequest> parseRequest(Arguments args) {
    DiffRequest request;
    std::vector<std::string> files;
    for (const std::string_view arg : args) {
        if (arg == "--json")
            request.json = true;
        else if (arg.starts_with("--") || arg.empty())
            return std::nullopt;
        else
            files.emplace_back(arg);
    }
    if (files.size() != 2) return std::nullopt;
    request.before = files[0];
    request.after = files[1];
    return request;
}

std::optional<Snapshot::Contents> loadOrSay(const std::string& file) {
    auto loaded = Snapshot::load(file);
    if (loaded) return std::move(*loaded);
    std::fprintf(stderr, "brantle: %s: %s\n", file.c_str(), describe(loaded.error()).c_str());
    return std::nullopt;
}

void printChanges(const std::vector<TreeChange>& changes) {
    if (changes.empty()) std::printf("no changes\n");
    for (const TreeChange& change : changes) {
        const std::string_view kind = changeName(change.kind);
        std::printf("%-8.*s %12s -> %-12s %s\n", static_cast<int>(kind.size()), kind.data(),
                    formatBytes(change.oldSize).c_str(), formatBytes(change.newSize).c_str(),
                    change.path.c_str());
    }
}

void printChangesJson(const DiffRequest& request, const std::vector<TreeChange>& changes) {
    QJsonArray list;
    for (const TreeChange& change : changes) {
        list.append(QJsonObject{
            {"path", QString::fromStdString(change.path)},
            {"oldSize", jsonBytes(change.oldSize)},
            {"newSize", jsonBytes(change.newSize)},
            {"change", QString::fromUtf8(changeName(change.kind))},
        });
    }
    printJson(QJsonObject{{"old", QString::fromStdString(request.before)},
                          {"new", QString::fromStdString(request.after)},
                          {"changes", list}});
}

int runDiff(Arguments args) {
    const auto request = parseRequest(args);
    if (!request) return usageError(diffCommand);
    const auto before = loadOrSay(request->before);
    if (!before) return exitFailure;
    const auto after = loadOrSay(request->after);
    if (!after) return exitFailure;
    const auto changes = diffTrees(before->tree, after->tree);
    if (request->json)
        printChangesJson(*request, changes);
    else
        printChanges(changes);
    return exitOk;
}

} // namespace

const Command diffCommand{"diff", "diff OLD.brs NEW.brs [--json]", runDiff};

} // namespace brantle::cli

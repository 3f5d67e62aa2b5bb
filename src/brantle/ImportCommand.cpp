// brantle import: reads an ncdu JSON export and saves it as a snapshot.
#include "Command.hpp"
#include "TreeReport.hpp"

#include "BrantleServices/NcduReader.hpp"

#include <cstdio>
#include <optional>
#include <string>

namespace brantle::cli {

namespace {

struct ImportRequest {
    std::string file;
    std::string save;
};

std::optional<ImportRequest> parseRequest(Arguments args) {
    ImportRequest request;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--save" && i + 1 < args.size() && request.save.empty()) {
            request.save = absolutePath(args[++i]);
        } else if (args[i].starts_with("--") || args[i].empty() || !request.file.empty()) {
            return std::nullopt;
        } else {
            request.file = std::string(args[i]);
        }
    }
    if (request.file.empty() || request.save.empty()) return std::nullopt;
    return request;
}

int runImport(Arguments args) {
    const auto request = parseRequest(args);
    if (!request) return usageError(importCommand);
    const auto imported = NcduReader::load(request->file);
    if (!imported) {
        std::fprintf(stderr, "brantle: %s: %s\n", request->file.c_str(), imported.error().c_str());
        return exitFailure;
    }
    const FileTree& tree = imported->tree;
    if (const auto saved = Snapshot::save(tree, imported->meta, request->save); !saved) {
        std::fprintf(stderr, "brantle: cannot save %s: %s\n", request->save.c_str(),
                     saved.error().message().c_str());
        return exitFailure;
    }
    std::printf("%s\n", tree.rootPath().c_str());
    const auto entries = static_cast<std::int64_t>(totalsOf(tree).liveNodes) - 1;
    printTotals(tree, entries, "");
    std::printf("  saved to %s\n", request->save.c_str());
    return exitOk;
}

} // namespace

const Command importCommand{"import", "import FILE.json --save OUT.brs", runImport};

} // namespace brantle::cli

// brantle export: writes a snapshot as an ncdu JSON export, to a file or standard output.
#include "Command.hpp"

#include "BrantleCore/Snapshot.hpp"
#include "BrantleServices/NcduWriter.hpp"

#include <cstdio>
#include <optional>
#include <string>

namespace brantle::cli {

namespace {

struct ExportRequest {
    std::string snapshot;
    std::optional<std::string> output;
};

std::optional<ExportRequest> parseRequest(Arguments args) {
    ExportRequest request;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "-o" && i + 1 < args.size() && !request.output) {
            request.output = absolutePath(args[++i]);
        } else if (args[i].starts_with("-") || args[i].empty() || !request.snapshot.empty()) {
            return std::nullopt;
        } else {
            request.snapshot = std::string(args[i]);
        }
    }
    if (request.snapshot.empty()) return std::nullopt;
    return request;
}

int runExport(Arguments args) {
    const auto request = parseRequest(args);
    if (!request) return usageError(exportCommand);
    const auto loaded = Snapshot::load(request->snapshot);
    if (!loaded) {
        std::fprintf(stderr, "brantle: %s: %s\n", request->snapshot.c_str(),
                     describe(loaded.error()).c_str());
        return exitFailure;
    }
    if (request->output) {
        if (const auto saved = NcduWriter::save(loaded->tree, loaded->meta, *request->output);
            !saved) {
            std::fprintf(stderr, "brantle: cannot write %s: %s\n", request->output->c_str(),
                         saved.error().message().c_str());
            return exitFailure;
        }
        return exitOk;
    }
    const std::string text = NcduWriter::write(loaded->tree, loaded->meta);
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout)) {
        std::perror("brantle: standard output");
        return exitFailure;
    }
    return exitOk;
}

} // namespace

const Command exportCommand{"export", "export SNAPSHOT.brs [-o FILE.json]", runExport};

} // namespace brantle::cli

// brantle ring: scans a folder and prints the ring layout of one folder in it, as the
// application lays it out (five rings, half-degree minimum, no extras).
#include "Command.hpp"
#include "ScanArguments.hpp"

#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "RingKit/RingLayout.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

namespace brantle::cli {

namespace {

using ringkit::RingSegment;
using Type = RingSegment::Kind::Type;

constexpr int ringCount = 5;

struct RingRequest {
    std::string path;
    std::optional<std::string> focus;
    bool json = false;
};

std::optional<RingRequest> parseRequest(Arguments args) {
    RingRequest request;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--json") {
            request.json = true;
        } else if (args[i] == "--focus") {
            if (i + 1 == args.size() || request.focus) return std::nullopt;
            request.focus = absolutePath(args[++i]);
        } else if (args[i].starts_with("--") || !request.path.empty()) {
            return std::nullopt;
        } else {
            request.path = absolutePath(args[i]);
        }
    }
    if (request.path.empty()) return std::nullopt;
    return request;
}

const char* kindName(Type type) {
    switch (type) {
    case Type::node:
        return "node";
    case Type::smaller:
        return "smaller";
    case Type::hidden:
        return "hidden";
    case Type::purgeable:
        return "purgeable";
    }
    return "?";
}

QJsonObject toJson(const FileTree& tree, const RingSegment& segment) {
    QJsonObject object{{"kind", kindName(segment.kind.type)},
                       {"depth", segment.depth},
                       {"start", segment.start},
                       {"end", segment.end},
                       {"bytes", static_cast<qint64>(segment.bytes)},
                       {"branch", segment.branch}};
    if (segment.kind.type == Type::node) {
        object["path"] = QString::fromStdString(tree.path(segment.kind.id));
    } else if (segment.kind.type == Type::smaller) {
        object["count"] = segment.kind.count;
        object["parent"] = QString::fromStdString(tree.path(segment.kind.id));
    }
    return object;
}

void printJson(const FileTree& tree, const std::vector<RingSegment>& segments) {
    QJsonArray array;
    for (const auto& segment : segments)
        array.append(toJson(tree, segment));
    const QByteArray text = QJsonDocument(array).toJson(QJsonDocument::Indented);
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
}

// One line per slice: ring, angles in radians, size, branch, then what the slice stands for.
void printLines(const FileTree& tree, const std::vector<RingSegment>& segments) {
    for (const auto& s : segments) {
        std::printf("%d  %.6f  %.6f  %10s  %3d  ", s.depth, s.start, s.end,
                    formatBytes(s.bytes).c_str(), s.branch);
        if (s.kind.type == Type::node)
            std::printf("%s\n", tree.path(s.kind.id).c_str());
        else if (s.kind.type == Type::smaller)
            std::printf("smaller: %d items in %s\n", s.kind.count, tree.path(s.kind.id).c_str());
        else
            std::printf("%s\n", kindName(s.kind.type));
    }
}

int runRing(Arguments args) {
    const auto request = parseRequest(args);
    if (!request) return usageError(ringCommand);
    if (!isReadableFolder(request->path)) return exitFailure;
    DiskScanner scanner(ScanOptions::forVolume(request->path), activeProcessors());
    const FileTree tree = scanner.scan(request->path);
    const auto focusPath = request->focus.value_or(tree.rootPath());
    const auto focus = tree.node(focusPath);
    if (!focus) {
        std::fprintf(stderr, "brantle ring: %s is not inside the scanned folder\n",
                     focusPath.c_str());
        return exitFailure;
    }
    const auto segments =
        ringkit::RingLayout::layout(tree, *focus, ringCount, ringkit::RingLayout::defaultMinAngle);
    if (request->json)
        printJson(tree, segments);
    else
        printLines(tree, segments);
    return exitOk;
}

} // namespace

const Command ringCommand{"ring", "ring PATH [--focus FOLDER] [--json]", runRing};

} // namespace brantle::cli

#include "TreeReport.hpp"

#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/TreeCounts.hpp"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <cstdio>
#include <ctime>

namespace brantle::cli {

namespace {

std::vector<NodeId> largestChildren(const FileTree& tree) {
    if (tree.count() == 0) return {};
    auto children = tree.childrenBySize(FileTree::root);
    if (children.size() > 10) children.resize(10);
    return children;
}

} // namespace

TreeTotals totalsOf(const FileTree& tree) {
    const TreeCounts counts = TreeCounts::of(tree);
    return {counts.nodes, counts.unreadable, counts.mountPoints, counts.hardlinkDuplicates,
            counts.bytes};
}

QJsonObject totalsJson(const FileTree& tree, std::int64_t files) {
    const TreeTotals totals = totalsOf(tree);
    QJsonArray largest;
    for (const NodeId child : largestChildren(tree)) {
        largest.append(QJsonObject{
            {"path", QString::fromStdString(tree.path(child))},
            {"bytes", static_cast<qint64>(tree.size(child))},
        });
    }
    return QJsonObject{
        {"root", QString::fromStdString(tree.rootPath())},
        {"nodes", static_cast<qint64>(totals.liveNodes)},
        {"files", static_cast<qint64>(files)},
        {"bytes", static_cast<qint64>(totals.bytes)},
        {"unreadable", static_cast<qint64>(totals.unreadable)},
        {"mountPoints", static_cast<qint64>(totals.mountPoints)},
        {"hardlinkDuplicates", static_cast<qint64>(totals.hardlinkDuplicates)},
        {"largest", largest},
    };
}

void printTotals(const FileTree& tree, std::int64_t files, const char* tail) {
    const TreeTotals totals = totalsOf(tree);
    std::printf("  %s in %lld items%s\n", formatBytes(totals.bytes).c_str(),
                static_cast<long long>(files), tail);
    std::printf("  unreadable: %lld, mount points not entered: %lld, hard-link duplicates: %lld\n",
                static_cast<long long>(totals.unreadable),
                static_cast<long long>(totals.mountPoints),
                static_cast<long long>(totals.hardlinkDuplicates));
    const auto largest = largestChildren(tree);
    if (!largest.empty()) std::printf("Largest:\n");
    for (const NodeId child : largest)
        std::printf("  %10s  %s\n", formatBytes(tree.size(child)).c_str(),
                    tree.path(child).c_str());
}

void printJson(const QJsonObject& object) {
    const QByteArray text = QJsonDocument(object).toJson(QJsonDocument::Indented);
    std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout);
}

std::string utcTime(double seconds) {
    const auto whole = static_cast<std::time_t>(std::floor(seconds));
    std::tm parts{};
    char text[64] = "?";
    if (gmtime_r(&whole, &parts)) std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    return text;
}

} // namespace brantle::cli

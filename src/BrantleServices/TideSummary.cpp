#include "BrantleServices/TideSummary.hpp"

#include "BrantleCore/FileTree.hpp"
#include "BrantleServices/JsonBytes.hpp"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

namespace brantle {

namespace {

struct FolderWalk {
    const FileTree& tree;
    std::uint64_t minBytes;
    int maxDepth;
    std::map<std::string, std::uint64_t>& folders;

    void visit(NodeId id, const std::string& path, int depth) const {
        if (tree.isDead(id) || !tree.flags(id).contains(NodeFlags::directory)) return;
        if (tree.size(id) < minBytes) return;
        folders[path] = tree.size(id);
        if (depth >= maxDepth) return;
        const std::string prefix = path == "/" ? path : path + '/';
        for (const NodeId child : tree.children(id))
            visit(child, prefix + tree.name(child), depth + 1);
    }
};

} // namespace

TideSummary TideSummary::make(const FileTree& tree, const std::vector<std::string>& roots,
                              const std::optional<VolumeInfo>& volume, double date,
                              std::uint64_t minBytes, int maxDepth) {
    TideSummary summary;
    summary.date = date;
    if (volume) {
        summary.volumeTotal = volume->total;
        summary.volumeUsed = volume->used();
        summary.purgeable = volume->purgeable();
    }
    const FolderWalk walk{tree, minBytes, maxDepth, summary.folders};
    for (const std::string& root : roots) {
        if (const auto id = tree.node(root)) walk.visit(*id, tree.path(*id), 0);
    }
    return summary;
}

QByteArray TideSummary::toJson() const {
    QJsonObject folderObject;
    for (const auto& [path, bytes] : folders)
        folderObject.insert(QString::fromStdString(path), jsonBytes(bytes));
    QJsonObject object;
    object.insert("date", date);
    object.insert("volumeTotal", jsonBytes(volumeTotal));
    object.insert("volumeUsed", jsonBytes(volumeUsed));
    object.insert("purgeable", jsonBytes(purgeable));
    object.insert("folders", folderObject);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<TideSummary> TideSummary::fromJson(const QByteArray& json) {
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject()) return std::nullopt;
    const QJsonObject object = document.object();
    const QJsonValue date = object.value("date");
    const auto total = bytesFromJson(object.value("volumeTotal"));
    const auto used = bytesFromJson(object.value("volumeUsed"));
    const auto purgeable = bytesFromJson(object.value("purgeable"));
    const QJsonValue folders = object.value("folders");
    if (!date.isDouble() || !std::isfinite(date.toDouble()) || !total || !used || !purgeable ||
        !folders.isObject())
        return std::nullopt;

    TideSummary summary{date.toDouble(), *total, *used, *purgeable, {}};
    const QJsonObject folderObject = folders.toObject();
    for (auto it = folderObject.begin(); it != folderObject.end(); ++it) {
        const auto bytes = bytesFromJson(it.value());
        if (!bytes) return std::nullopt;
        summary.folders[it.key().toStdString()] = *bytes;
    }
    return summary;
}

} // namespace brantle

// What the window shows of the model: rows, captions and the storage bar as Qt values.
#include "AmbrelModel/AppModel.hpp"

#include "BrantleCore/ByteFormat.hpp"

#include <QLocale>

#include <algorithm>

namespace ambrel {

QString AppModel::sliceText(const Kind& kind) const {
    return label(kind) + QStringLiteral(" \u2014 ") +
           QString::fromStdString(brantle::formatBytes(size(kind)));
}

QVariantMap AppModel::progressMap() const {
    if (!progress_) return {};
    QVariantMap map;
    map[QStringLiteral("files")] = static_cast<qlonglong>(progress_->files);
    map[QStringLiteral("filesText")] = QLocale().toString(static_cast<qlonglong>(progress_->files));
    map[QStringLiteral("bytesText")] =
        QString::fromStdString(brantle::formatBytes(progress_->bytes));
    map[QStringLiteral("fraction")] = expectedCount_ > 0
                                          ? std::min(1.0, static_cast<double>(progress_->files) /
                                                              static_cast<double>(expectedCount_))
                                          : -1.0;
    return map;
}

QVariantList AppModel::breadcrumbItems() const {
    QVariantList out;
    const auto& tree = view_.tree();
    for (const auto node : breadcrumbs())
        out.append(QVariantMap{
            {QStringLiteral("node"), static_cast<int>(node)},
            {QStringLiteral("name"), label(Kind::node(node))},
            {QStringLiteral("path"), tree ? QString::fromStdString(tree->path(node)) : QString()},
            {QStringLiteral("size"),
             QString::fromStdString(brantle::formatBytes(size(Kind::node(node))))}});
    return out;
}

QVariantList AppModel::itemRows() const {
    QVariantList out;
    const auto& tree = view_.tree();
    if (!tree) return out;
    const auto total = static_cast<double>(tree->size(view_.focus()));
    for (const auto node : listItems()) {
        const auto bytes = tree->size(node);
        out.append(QVariantMap{
            {QStringLiteral("node"), static_cast<int>(node)},
            {QStringLiteral("name"), QString::fromStdString(tree->name(node))},
            {QStringLiteral("path"), QString::fromStdString(tree->path(node))},
            {QStringLiteral("bytes"), static_cast<double>(bytes)},
            {QStringLiteral("size"), QString::fromStdString(brantle::formatBytes(bytes))},
            {QStringLiteral("share"), total > 0 ? static_cast<double>(bytes) / total : 0.0},
            {QStringLiteral("folder"), tree->flags(node).contains(brantle::NodeFlags::directory)},
            {QStringLiteral("unreadable"),
             tree->flags(node).contains(brantle::NodeFlags::unreadable)}});
    }
    return out;
}

QVariantMap AppModel::storage() const {
    if (!volume_ || volume_->total == 0) return {};
    const auto purgeable = volume_->purgeable();
    // Only a scan of the whole startup disk can tell what it did not reach.
    const auto& tree = view_.tree();
    const bool wholeDisk = tree && target_.kind == ScanTarget::Kind::StartupDisk;
    const auto hidden =
        wholeDisk ? volume_->hidden(tree->size(brantle::FileTree::root) + purgeable) : 0;
    const auto used = volume_->used() - std::min(volume_->used(), hidden + purgeable);
    const auto total = static_cast<double>(volume_->total);
    auto share = [total](std::uint64_t bytes) { return static_cast<double>(bytes) / total; };
    auto text = [](std::uint64_t bytes) {
        return QString::fromStdString(brantle::formatBytes(bytes));
    };
    return {{QStringLiteral("used"), share(used)},
            {QStringLiteral("hidden"), share(hidden)},
            {QStringLiteral("purgeable"), share(purgeable)},
            {QStringLiteral("free"), share(volume_->available)},
            {QStringLiteral("usedText"), text(used)},
            {QStringLiteral("hiddenText"), text(hidden)},
            {QStringLiteral("purgeableText"), text(purgeable)},
            {QStringLiteral("freeText"), text(volume_->available)},
            {QStringLiteral("totalText"), text(volume_->total)}};
}

} // namespace ambrel

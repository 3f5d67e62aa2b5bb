// The focused folder's space by file kind, worked out once per tree in the background.
#include "AmbrelModel/AppModel.hpp"
#include "AmbrelModel/Settings.hpp"

#include "BrantleCore/ByteFormat.hpp"

#include <QMetaObject>

#include <algorithm>
#include <mutex>
#include <numeric>

namespace ambrel {

namespace {

/// One classifier for every tree, so that a caught-up tree finds its answers cached; one
/// tree at a time.
brantle::TreeKinds kindsOf(const brantle::FileTree& tree) {
    static std::mutex mutex;
    static brantle::KindClassifier classifier;
    const std::lock_guard lock(mutex);
    return brantle::TreeKinds::of(tree, classifier);
}

} // namespace

const brantle::TreeKinds* AppModel::treeKinds() const {
    const auto& tree = view_.tree();
    return tree && kinds_ && kindsTree_ == tree ? kinds_.get() : nullptr;
}

std::optional<brantle::NodeId> AppModel::kindsNode(brantle::NodeId shown) const {
    const auto& tree = view_.tree();
    if (!tree || !kinds_) return std::nullopt;
    if (kindsTree_ == tree) return shown;
    // Only the slices and the focus are looked up, each by its path.
    return kindsTree_->node(tree->rawPath(shown));
}

void AppModel::classifyKinds(JobPacer::Pace pace) {
    const auto& tree = view_.tree();
    if (!tree || kindsAsked_.lock() == tree) return;
    if (!kindsPacer_)
        kindsPacer_ = new JobPacer(
            kindsSpacing, [this] { startKinds(); }, this);
    kindsPacer_->request(pace);
}

void AppModel::startKinds() {
    auto tree = view_.tree();
    if (!tree || kindsAsked_.lock() == tree) return kindsPacer_->finished();
    kindsAsked_ = tree;
    session_.runInBackground([this, tree] {
        auto kinds = std::make_shared<const brantle::TreeKinds>(kindsOf(*tree));
        QMetaObject::invokeMethod(
            this,
            [this, tree, kinds = std::move(kinds)]() mutable {
                kindsPacer_->finished();
                // A newer tree's own kinds are asked for.
                if (tree != view_.tree()) return;
                kinds_ = std::move(kinds);
                kindsTree_ = tree;
                if (colourByKind_)
                    relayout();
                else
                    emit kindsChanged();
            },
            Qt::QueuedConnection);
    });
}

void AppModel::setColourByKind(bool on) {
    requireMainThread();
    if (on == colourByKind_) return;
    colourByKind_ = on;
    Settings::setColourByKind(on);
    emit colourByKindChanged();
    relayout();
}

QVariantList AppModel::kindRows() const {
    const auto node = kindsNode(view_.focus());
    if (!node) return {};
    const auto sizes = kinds_->sizes(*node);
    const double total = std::accumulate(sizes.begin(), sizes.end(), 0.0);
    std::vector<std::size_t> order(sizes.size());
    std::iota(order.begin(), order.end(), 0);
    std::ranges::stable_sort(order, std::greater{}, [&](std::size_t kind) { return sizes[kind]; });
    QVariantList rows;
    for (const auto kind : order) {
        if (sizes[kind] == 0) continue;
        const auto name = brantle::fileKindName(static_cast<brantle::FileKind>(kind));
        rows.append(QVariantMap{
            {QStringLiteral("kind"), static_cast<int>(kind)},
            {QStringLiteral("name"), QString::fromUtf8(name.data(), qsizetype(name.size()))},
            {QStringLiteral("bytes"), static_cast<double>(sizes[kind])},
            {QStringLiteral("size"), QString::fromStdString(brantle::formatBytes(sizes[kind]))},
            {QStringLiteral("share"), static_cast<double>(sizes[kind]) / total}});
    }
    return rows;
}

} // namespace ambrel

#include "AmbrelModel/ScanComparison.hpp"

#include "AmbrelModel/StoredSnapshot.hpp"
#include "BrantleCore/ByteFormat.hpp"

#include <QDateTime>
#include <QLocale>

namespace ambrel {

namespace {

QString bytesText(std::uint64_t bytes) {
    return QString::fromStdString(brantle::formatBytes(bytes));
}

QString signedText(std::int64_t delta) {
    return delta < 0 ? QStringLiteral("−") + bytesText(static_cast<std::uint64_t>(-delta))
                     : QStringLiteral("+") + bytesText(static_cast<std::uint64_t>(delta));
}

QString changeText(const brantle::TreeChange& change) {
    switch (change.kind) {
    case brantle::TreeChange::Kind::added:
        return QStringLiteral("new");
    case brantle::TreeChange::Kind::removed:
        return QStringLiteral("removed");
    case brantle::TreeChange::Kind::grown:
        return QStringLiteral("+") + bytesText(change.amount());
    case brantle::TreeChange::Kind::shrunk:
        return QStringLiteral("−") + bytesText(change.amount());
    }
    return {};
}

/// The path as the view shows it: from the root's own name down ("target/big/blob").
QString shownPath(const brantle::FileTree& tree, const std::string& path) {
    const auto root = QString::fromStdString(tree.name(brantle::FileTree::root));
    const auto below = std::string_view(path).substr(tree.rootPath().size());
    return root + QString::fromUtf8(below.data(), static_cast<qsizetype>(below.size()));
}

QVariantMap row(const brantle::FileTree& tree, const brantle::TreeChange& change) {
    const bool gone = change.kind == brantle::TreeChange::Kind::removed;
    const auto node = gone ? std::nullopt : tree.node(change.path);
    const bool folder = node && tree.flags(*node).contains(brantle::NodeFlags::directory);
    return {{"path", QString::fromStdString(change.path)},
            {"shownPath", shownPath(tree, change.path) + (folder ? "/" : "")},
            {"folder", folder},
            {"oldSize", change.kind == brantle::TreeChange::Kind::added
                            ? QStringLiteral("—")
                            : bytesText(change.oldSize)},
            {"newSize", gone ? QStringLiteral("—") : bytesText(change.newSize)},
            {"change", changeText(change)},
            {"grew", change.newSize > change.oldSize}};
}

} // namespace

struct ScanComparison::Outcome {
    std::shared_ptr<const brantle::FileTree> tree;
    QString sinceText; ///< empty: no previous snapshot
    brantle::ChangeColumns columns;
    QVariantList largest;
};

ScanComparison::ScanComparison(Runner runInBackground, QObject* parent)
    : QObject(parent), runInBackground_(std::move(runInBackground)),
      pacer_(spacing, [this] { compare(); }) {}

void ScanComparison::show(std::shared_ptr<const brantle::FileTree> tree, JobPacer::Pace pace) {
    if (tree == shown_) return;
    const bool sameRoot = tree && shown_ && tree->rootPath() == shown_->rootPath();
    shown_ = std::move(tree);
    // Another target's changes must not stay on screen while this one's are worked out.
    if (!sameRoot) {
        ++request_; // what is under way is for another target
        if (available()) install({shown_, {}, {}, {}});
    }
    if (shown_) pacer_.request(pace);
}

void ScanComparison::previousReplaced() {
    ++request_;
    if (shown_) pacer_.request();
}

void ScanComparison::compare() {
    const int request = ++request_;
    if (!shown_) return pacer_.finished();
    runInBackground_([this, request, tree = shown_] {
        Outcome outcome{tree, {}, {}, {}};
        if (const auto previous = StoredSnapshot::loadPrevious(tree->rootPath())) {
            const auto when = QDateTime::fromMSecsSinceEpoch(
                static_cast<qint64>(previous->meta.scannedAt * 1000));
            outcome.sinceText = QStringLiteral("Changes since %1")
                                    .arg(QLocale().toString(when, QLocale::ShortFormat));
            auto comparison = brantle::compareTrees(previous->tree, *tree, listed);
            outcome.columns = std::move(comparison.columns);
            for (const auto& change : comparison.largest)
                outcome.largest.append(row(*tree, change));
        }
        QMetaObject::invokeMethod(
            this,
            [this, request, outcome = std::move(outcome)] {
                pacer_.finished();
                if (request == request_) install(outcome);
            },
            Qt::QueuedConnection);
    });
}

void ScanComparison::install(const Outcome& outcome) {
    compared_ = outcome.tree;
    columns_ = outcome.columns;
    largest_ = outcome.largest;
    sinceText_ = outcome.sinceText;
    ++revision_;
    emit changed();
}

void ScanComparison::setByGrowth(bool on) {
    if (on == byGrowth_) return;
    byGrowth_ = on;
    emit byGrowthChanged();
}

std::optional<brantle::NodeId> ScanComparison::comparedNode(brantle::NodeId shown) const {
    if (!shown_ || !compared_) return std::nullopt;
    if (compared_ == shown_) return shown;
    // A refreshed tree keeps the changes of the tree before it until its own are worked out.
    if (shown >= shown_->count() || compared_->rootPath() != shown_->rootPath())
        return std::nullopt;
    return compared_->node(shown_->rawPath(shown));
}

brantle::NodeChange ScanComparison::state(brantle::NodeId node) const {
    const auto compared = comparedNode(node);
    if (!compared || *compared >= columns_.states.size()) return brantle::NodeChange::unchanged;
    return columns_.states[*compared];
}

std::int64_t ScanComparison::delta(brantle::NodeId node) const {
    const auto compared = comparedNode(node);
    if (!compared || *compared >= columns_.deltas.size()) return 0;
    return columns_.deltas[*compared];
}

QString ScanComparison::changeText(int node) const {
    if (node < 0) return {};
    const auto id = static_cast<brantle::NodeId>(node);
    switch (state(id)) {
    case brantle::NodeChange::unchanged:
        return {};
    case brantle::NodeChange::added:
        return QStringLiteral("new");
    case brantle::NodeChange::grown:
    case brantle::NodeChange::shrunk:
        return signedText(delta(id));
    }
    return {};
}

} // namespace ambrel

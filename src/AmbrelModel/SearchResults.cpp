#include "AmbrelModel/SearchResults.hpp"

#include "AmbrelModel/OrderedStart.hpp"

#include "BrantleCore/ByteFormat.hpp"

#include <QCoreApplication>
#include <QDateTime>
#include <QLocale>

#include <algorithm>

namespace ambrel {

namespace {

constexpr std::int64_t secondsPerDay = 86400;

} // namespace

SearchResults::SearchResults(QObject* parent) : QAbstractListModel(parent) {
    pool_.setMaxThreadCount(1);
}

SearchResults::~SearchResults() {
    // A search still running posts to this object; it must be done before the object goes.
    pool_.waitForDone();
}

void SearchResults::setTree(std::shared_ptr<const brantle::FileTree> tree) {
    if ((searcher_ ? searcher_->tree : nullptr) == tree) return;
    // Rows name nodes by id: another tree's ids must not reach the menus.
    searcher_ = tree ? std::make_shared<Searcher>(std::move(tree)) : nullptr;
    emit rowsAboutToChange();
    beginResetModel();
    rows_.clear();
    matchCount_ = 0;
    endResetModel();
    emit resultsChanged();
    requery();
}

void SearchResults::setText(const QString& text) {
    const auto name = text.toStdString();
    if (name == query_.name) return;
    query_.name = name;
    emit queryChanged();
    requery();
}

void SearchResults::setLargerThan(double bytes) {
    const auto value = bytes > 0 ? static_cast<std::uint64_t>(bytes) : 0;
    if (value == query_.largerThan) return;
    query_.largerThan = value;
    emit queryChanged();
    requery();
}

void SearchResults::setNotModifiedDays(int days) {
    days = std::max(days, 0);
    if (days == notModifiedDays_) return;
    notModifiedDays_ = days;
    emit queryChanged();
    requery();
}

bool SearchResults::hasQuery() const {
    return !query_.name.empty() || query_.largerThan > 0 || notModifiedDays_ > 0;
}

QString SearchResults::summary() const {
    if (!hasQuery()) return {};
    if (!searcher_) return QStringLiteral("Results appear when the scan is done");
    if (matchCount_ == 0) return QStringLiteral("No items found");
    if (matchCount_ == 1) return QStringLiteral("1 item");
    const auto count = QLocale().toString(static_cast<qulonglong>(matchCount_));
    if (rows_.size() < matchCount_)
        return QStringLiteral("The largest %1 of %2 items").arg(rows_.size()).arg(count);
    return QStringLiteral("%1 items").arg(count);
}

int SearchResults::folderToShow(int row) const {
    if (row < 0 || static_cast<std::size_t>(row) >= rows_.size()) return -1;
    return static_cast<int>(rows_[static_cast<std::size_t>(row)].folder);
}

int SearchResults::nodeAt(int row) const {
    if (row < 0 || static_cast<std::size_t>(row) >= rows_.size()) return -1;
    return static_cast<int>(rows_[static_cast<std::size_t>(row)].node);
}

QString SearchResults::pathAt(int row) const {
    if (row < 0 || static_cast<std::size_t>(row) >= rows_.size()) return {};
    return rows_[static_cast<std::size_t>(row)].path;
}

int SearchResults::rowNear(const QString& path, int formerRow) const {
    if (rows_.empty()) return -1;
    const auto found = std::ranges::find(rows_, path, &Row::path);
    if (found != rows_.end()) return static_cast<int>(found - rows_.begin());
    return std::clamp(formerRow, 0, static_cast<int>(rows_.size()) - 1);
}

void SearchResults::requery() {
    pending_ = true;
    if (!running_) launch();
}

void SearchResults::launch() {
    pending_ = false;
    if (!searcher_ || !hasQuery()) {
        install(searcher_, {});
        return;
    }
    auto query = query_;
    if (notModifiedDays_ > 0)
        query.notModifiedSince =
            QDateTime::currentSecsSinceEpoch() - std::int64_t{notModifiedDays_} * secondsPerDay;
    running_ = true;
    startOrdered(pool_, [this, searcher = searcher_, query = std::move(query)] {
        auto found = find(*searcher, query);
        QMetaObject::invokeMethod(
            this,
            [this, searcher, found = std::move(found)]() mutable {
                running_ = false;
                install(searcher, std::move(found));
                if (pending_) launch();
            },
            Qt::QueuedConnection);
    });
}

SearchResults::Found SearchResults::find(Searcher& searcher, const brantle::SearchQuery& query) {
    const auto& tree = *searcher.tree;
    const auto results = searcher.search.run(query, listed);
    Found found{{}, results.matchCount};
    found.rows.reserve(results.hits.size());
    for (const auto& hit : results.hits) {
        const bool isFolder = tree.flags(hit.node).contains(brantle::NodeFlags::directory);
        const auto parent = tree.parent(hit.node);
        found.rows.push_back(
            {hit.node, isFolder ? hit.node : parent, QString::fromStdString(tree.name(hit.node)),
             QString::fromStdString(tree.path(parent)), QString::fromStdString(tree.path(hit.node)),
             QString::fromStdString(brantle::formatBytes(hit.size)), isFolder});
    }
    return found;
}

void SearchResults::install(const std::shared_ptr<Searcher>& searcher, Found found) {
    // The rows of a tree no longer shown are dropped; the new tree's search follows.
    if (searcher != searcher_) return;
    emit rowsAboutToChange();
    beginResetModel();
    rows_ = std::move(found.rows);
    matchCount_ = found.matchCount;
    endResetModel();
    emit resultsChanged();
}

void SearchResults::waitForResults() {
    while (running_) {
        pool_.waitForDone();
        QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    }
}

int SearchResults::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant SearchResults::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto& row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return row.name;
    case NodeRole:
        return static_cast<int>(row.node);
    case FolderPathRole:
        return row.folderPath;
    case PathRole:
        return row.path;
    case SizeRole:
        return row.size;
    case IsFolderRole:
        return row.isFolder;
    default:
        return {};
    }
}

QHash<int, QByteArray> SearchResults::roleNames() const {
    return {{NodeRole, "node"}, {NameRole, "name"}, {FolderPathRole, "folderPath"},
            {PathRole, "path"}, {SizeRole, "size"}, {IsFolderRole, "isFolder"}};
}

} // namespace ambrel

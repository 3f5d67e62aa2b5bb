#pragma once

#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/TreeSearch.hpp"

#include <QAbstractListModel>
#include <QString>
#include <QThreadPool>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace ambrel {

/// The search view's rows: the items of the shown tree that match the name and filters, the
/// largest first. Each change of the query searches again on a thread of its own; while a
/// search runs, only the latest query waits, the ones typed in between are dropped.
class SearchResults : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY queryChanged)
    /// Allocated bytes an item must exceed; 0 for any size.
    Q_PROPERTY(double largerThan READ largerThan WRITE setLargerThan NOTIFY queryChanged)
    /// Days an item must have gone unmodified; 0 for any age.
    Q_PROPERTY(
        int notModifiedDays READ notModifiedDays WRITE setNotModifiedDays NOTIFY queryChanged)
    Q_PROPERTY(QString summary READ summary NOTIFY resultsChanged)
    Q_PROPERTY(int matchCount READ matchCount NOTIFY resultsChanged)

public:
    /// Rows listed at most; the summary counts every match.
    static constexpr std::size_t listed = 500;

    enum Role {
        NodeRole = Qt::UserRole + 1,
        NameRole,
        FolderPathRole,
        PathRole,
        SizeRole,
        IsFolderRole
    };
    Q_ENUM(Role)

    explicit SearchResults(QObject* parent = nullptr);
    ~SearchResults() override;

    /// Searches `tree` from now on (none: nothing to find); the rows of another tree go at once.
    void setTree(std::shared_ptr<const brantle::FileTree> tree);

    QString text() const {
        return query_.name.empty() ? QString() : QString::fromStdString(query_.name);
    }
    void setText(const QString& text);
    double largerThan() const { return static_cast<double>(query_.largerThan); }
    void setLargerThan(double bytes);
    int notModifiedDays() const { return notModifiedDays_; }
    void setNotModifiedDays(int days);
    int matchCount() const { return static_cast<int>(matchCount_); }
    /// "3 items", "The largest 500 of 1,234 items", "No items found", or empty with no query.
    /// Without a tree, that results come once there is one.
    QString summary() const;
    /// The folder to show for a row: the item itself when it is one, else its folder; −1 for
    /// no such row.
    Q_INVOKABLE int folderToShow(int row) const;
    /// The node of a row, or −1.
    Q_INVOKABLE int nodeAt(int row) const;
    /// The path of a row, or empty.
    Q_INVOKABLE QString pathAt(int row) const;
    /// Where the keyboard goes back to when the rows change: the row of `path`, or, when it has
    /// gone (removed, say), the row now at `formerRow`; −1 without rows.
    Q_INVOKABLE int rowNear(const QString& path, int formerRow) const;
    /// Waits for the running search and installs its rows; for tests.
    void waitForResults();

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void queryChanged();
    /// The rows are about to be replaced (then `resultsChanged`).
    void rowsAboutToChange();
    void resultsChanged();

private:
    struct Row {
        brantle::NodeId node;
        brantle::NodeId folder;
        QString name;
        QString folderPath;
        QString path;
        QString size;
        bool isFolder;
    };
    struct Found {
        std::vector<Row> rows;
        std::size_t matchCount = 0;
    };
    /// The tree and a search over it, which keeps buffers and so serves one query at a time.
    struct Searcher {
        std::shared_ptr<const brantle::FileTree> tree;
        brantle::TreeSearch search;
        explicit Searcher(std::shared_ptr<const brantle::FileTree> shown)
            : tree(std::move(shown)), search(*tree) {}
    };

    bool hasQuery() const;
    void requery();
    void launch();
    void install(const std::shared_ptr<Searcher>& searcher, Found found);
    static Found find(Searcher& searcher, const brantle::SearchQuery& query);

    brantle::SearchQuery query_;
    int notModifiedDays_ = 0;
    std::shared_ptr<Searcher> searcher_;
    bool running_ = false;
    bool pending_ = false;
    std::vector<Row> rows_;
    std::size_t matchCount_ = 0;
    QThreadPool pool_;
};

} // namespace ambrel

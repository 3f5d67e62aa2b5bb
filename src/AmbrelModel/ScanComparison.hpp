#pragma once

#include "AmbrelModel/JobPacer.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/TreeDiff.hpp"

#include <QObject>
#include <QString>
#include <QVariantList>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace ambrel {

/// The shown tree against the previous stored snapshot of its root: "Changes since DATE",
/// each node's change (looked up in O(1) by node id) and the largest changes. The trees are
/// compared in the background, one comparison at a time for the newest shown tree, and once
/// more when the store replaces the previous snapshot. Lives on the main thread.
class ScanComparison : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool available READ available NOTIFY changed)
    Q_PROPERTY(QString sinceText READ sinceText NOTIFY changed)
    Q_PROPERTY(QVariantList largest READ largestRows NOTIFY changed)
    Q_PROPERTY(int revision READ revision NOTIFY changed)
    Q_PROPERTY(bool byGrowth READ byGrowth WRITE setByGrowth NOTIFY byGrowthChanged)

public:
    using Runner = std::function<void(std::function<void()>)>;
    /// How many changes the "What changed" view lists.
    static constexpr std::size_t listed = 50;
    /// Trees refreshed every second or two are compared at most this often.
    static constexpr std::chrono::seconds spacing{10};

    /// `runInBackground` runs the comparisons off the main thread.
    explicit ScanComparison(Runner runInBackground, QObject* parent = nullptr);

    /// Compares `tree`, now shown, with its root's previous snapshot; nothing for a null tree
    /// (a scan opened from a file has no previous one). The same tree again changes nothing.
    /// A spaced tree waits until `spacing` has passed since the last comparison began.
    void show(std::shared_ptr<const brantle::FileTree> tree,
              JobPacer::Pace pace = JobPacer::Pace::soon);
    /// The store has replaced the previous snapshot of the shown tree's root.
    void previousReplaced();

    /// True when the shown target has a previous snapshot to compare with.
    bool available() const { return !sinceText_.isEmpty(); }
    /// "Changes since DATE", or empty.
    const QString& sinceText() const { return sinceText_; }
    QVariantList largestRows() const { return largest_; }
    int revision() const { return revision_; }
    bool byGrowth() const { return byGrowth_; }
    void setByGrowth(bool on);

    /// How `node` of the shown tree stands: by its path in the tree compared last while the
    /// shown tree's own comparison is under way.
    brantle::NodeChange state(brantle::NodeId node) const;
    std::int64_t delta(brantle::NodeId node) const;
    /// "+1.2 GB", "−300 MB", "new", or empty for an unchanged node.
    Q_INVOKABLE QString changeText(int node) const;

signals:
    void changed();
    void byGrowthChanged();

private:
    struct Outcome;
    void compare();
    void install(const Outcome& outcome);
    /// `shown`'s node in the tree `columns_` describe.
    std::optional<brantle::NodeId> comparedNode(brantle::NodeId shown) const;

    Runner runInBackground_;
    JobPacer pacer_;
    std::shared_ptr<const brantle::FileTree> shown_;
    /// The tree `columns_` describe.
    std::shared_ptr<const brantle::FileTree> compared_;
    brantle::ChangeColumns columns_;
    QVariantList largest_;
    QString sinceText_;
    int revision_ = 0;
    int request_ = 0; ///< the latest comparison; an older one's result is dropped
    bool byGrowth_ = false;
};

} // namespace ambrel

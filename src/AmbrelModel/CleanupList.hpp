#pragma once

#include "AmbrelModel/Notice.hpp"
#include "BrantleServices/GuardVerdict.hpp"

#include <QString>
#include <QUuid>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ambrel {

/// One entry of the Cleanup List.
struct StagedItem {
    QUuid id;
    std::string path;
    QString name;
    std::uint64_t bytes = 0;
    /// The guard's record when the item was added; carries the caution the review shows.
    brantle::GuardedRemoval removal;
};

/// Where a node stands against the Cleanup List.
enum class StageState { none, staged, insideStaged };

/// The outcome of one removal run.
struct TrashResult {
    bool permanent = false;
    int movedCount = 0;
    std::uint64_t movedBytes = 0;
    std::vector<QString> failures;
    /// Paths removed, for taking them out of the tree.
    std::vector<std::string> removedPaths;
};

/// What the user gathered for removal, screened by the deletion guard on the way in. Lives
/// on the main thread; it only keeps the list and says what to tell the user.
class CleanupList {
public:
    using Guard = std::function<brantle::GuardVerdict(const std::string& path)>;
    explicit CleanupList(Guard guard) : guard_(std::move(guard)) {}

    /// Adds one item; returns the notice to show when it was not added.
    std::optional<Notice> stage(const std::string& path, std::uint64_t bytes, const QString& name);
    void unstage(const QUuid& id);
    /// Removes the entries with these paths (after a removal).
    void drop(const std::vector<std::string>& paths);
    StageState stageState(const std::string& path) const;
    bool isStaged(const std::string& path) const;
    std::uint64_t stagedBytes() const;
    const std::vector<StagedItem>& items() const { return items_; }
    /// The entry listed at exactly this path.
    const StagedItem* entry(const std::string& path) const;

    /// "Added N item(s) (size) to the Cleanup List."
    static QString addedText(int count, const QString& size);

private:
    Guard guard_;
    std::vector<StagedItem> items_;
};

} // namespace ambrel

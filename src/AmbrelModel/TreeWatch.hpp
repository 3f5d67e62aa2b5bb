#pragma once

#include "BrantleCore/FileTree.hpp"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace ambrel {

/// Follows one subtree of the shown tree on disk: an inotify watch on each of its folders,
/// nearest first, as many as the budget allows. Events are gathered for `coalesceDelay`, then
/// `changed` names the folders to read again. Main thread.
class TreeWatch : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds coalesceDelay{1500};
    /// The most watches ever held, whatever the kernel allows.
    static constexpr std::size_t budgetCeiling = 65536;

    explicit TreeWatch(QObject* parent = nullptr);
    ~TreeWatch() override;
    TreeWatch(const TreeWatch&) = delete;
    TreeWatch& operator=(const TreeWatch&) = delete;

    /// Watches the live folders of `tree` at and under `top`, breadth first, up to the budget;
    /// folders no longer among them lose their watch at once, new ones get theirs
    /// `chunkSize` at a time from the event loop, so that the window stays responsive. False
    /// when the subtree did not fit (or inotify is not available): the rest is left to the
    /// periodic catch-up.
    bool follow(const brantle::FileTree& tree, brantle::NodeId top);
    /// Watches added per turn of the event loop (a few milliseconds' worth).
    static constexpr std::size_t chunkSize = 1024;
    /// True while watches are still being added.
    bool settling() const { return !toAdd_.empty(); }
    /// Drops every watch and whatever was gathered.
    void stop();
    std::size_t watchCount() const { return folders_.size(); }

    /// A quarter of the user's inotify watches (other programs need theirs), at most
    /// `budgetCeiling`.
    static std::size_t defaultBudget();
    void setBudget(std::size_t budget) { budget_ = budget; }

signals:
    /// Folders whose entries changed (a gone folder names its parent).
    void changed(const std::vector<std::string>& folders);
    /// The kernel dropped events: which folders changed is unknown.
    void overflowed();

private:
    void readEvents();
    void addChunk();
    void flush();
    void unwatch(int descriptor);
    /// The folders to watch: `top` and its live subfolders, breadth first, at most `budget_`.
    std::vector<std::string> wanted(const brantle::FileTree& tree, brantle::NodeId top,
                                    bool& complete) const;

    int fd_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::size_t budget_;
    std::unordered_map<int, std::string> folders_;     ///< by watch descriptor
    std::unordered_map<std::string, int> descriptors_; ///< by folder
    std::vector<std::string> toAdd_; ///< taken from the back, nearest folders last
    std::set<std::string> gathered_;
    bool lost_ = false;
    QTimer coalesce_;
    QTimer adding_;
};

} // namespace ambrel

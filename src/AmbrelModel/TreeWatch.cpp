#include "AmbrelModel/TreeWatch.hpp"

#include "BrantleCore/NodeFlags.hpp"
#include "BrantleCore/PathText.hpp"

#include <algorithm>
#include <cerrno>
#include <deque>
#include <fstream>
#include <ranges>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

namespace ambrel {

namespace {

// What changes a folder's entries or their sizes. Writes count once the file is closed, so a
// growing download wakes nothing until it is done; the periodic catch-up sees it before.
constexpr std::uint32_t folderEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                       IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR |
                                       IN_DONT_FOLLOW | IN_EXCL_UNLINK;

std::size_t kernelWatchLimit() {
    std::ifstream limit("/proc/sys/fs/inotify/max_user_watches");
    std::size_t value = 0;
    // 8192 is the smallest limit kernels have shipped with.
    return limit >> value ? value : 8192;
}

} // namespace

TreeWatch::TreeWatch(QObject* parent)
    : QObject(parent), fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), budget_(defaultBudget()) {
    coalesce_.setSingleShot(true);
    coalesce_.setInterval(coalesceDelay);
    connect(&coalesce_, &QTimer::timeout, this, &TreeWatch::flush);
    adding_.setInterval(0);
    connect(&adding_, &QTimer::timeout, this, &TreeWatch::addChunk);
    if (fd_ < 0) return;
    notifier_ = std::make_unique<QSocketNotifier>(fd_, QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, &TreeWatch::readEvents);
}

TreeWatch::~TreeWatch() {
    notifier_.reset();
    if (fd_ >= 0) close(fd_);
}

std::size_t TreeWatch::defaultBudget() {
    return std::min(kernelWatchLimit() / 4, budgetCeiling);
}

std::vector<std::string> TreeWatch::wanted(const brantle::FileTree& tree, brantle::NodeId top,
                                           bool& complete) const {
    std::vector<std::string> paths;
    std::deque<brantle::NodeId> queue{top};
    complete = true;
    while (!queue.empty()) {
        const brantle::NodeId folder = queue.front();
        queue.pop_front();
        if (paths.size() == budget_) {
            complete = false;
            break;
        }
        paths.push_back(tree.rawPath(folder));
        for (auto child = tree.firstChild(folder); child != brantle::FileTree::none;
             child = tree.nextSibling(child)) {
            const auto flags = tree.flags(child);
            // Another volume's or an unreadable folder's contents are not in the tree.
            if (flags.contains(brantle::NodeFlags::directory) &&
                !flags.contains(brantle::NodeFlags::dead) &&
                !flags.contains(brantle::NodeFlags::symlink) &&
                !flags.contains(brantle::NodeFlags::mountPoint))
                queue.push_back(child);
        }
    }
    return paths;
}

bool TreeWatch::follow(const brantle::FileTree& tree, brantle::NodeId top) {
    if (fd_ < 0) return false;
    bool complete = true;
    auto paths = wanted(tree, top, complete);
    std::vector<std::string> sorted = paths;
    std::ranges::sort(sorted);
    std::vector<int> dropped;
    for (const auto& [descriptor, path] : folders_)
        if (!std::ranges::binary_search(sorted, path)) dropped.push_back(descriptor);
    for (const int descriptor : dropped) {
        inotify_rm_watch(fd_, descriptor);
        unwatch(descriptor);
    }
    toAdd_.clear();
    for (std::string& path : std::ranges::reverse_view(paths))
        if (!descriptors_.contains(path)) toAdd_.push_back(std::move(path));
    addChunk();
    return complete;
}

void TreeWatch::addChunk() {
    for (std::size_t added = 0; added < chunkSize && !toAdd_.empty(); ++added) {
        std::string path = std::move(toAdd_.back());
        toAdd_.pop_back();
        const int descriptor = inotify_add_watch(fd_, path.c_str(), folderEvents);
        if (descriptor < 0) {
            // Out of watches after all (other programs took them): the rest is polled.
            if (errno == ENOSPC) toAdd_.clear();
            continue;
        }
        // A second path to one folder shares its watch; the first path is kept.
        if (folders_.contains(descriptor)) continue;
        descriptors_.emplace(path, descriptor);
        folders_.emplace(descriptor, std::move(path));
    }
    if (toAdd_.empty())
        adding_.stop();
    else if (!adding_.isActive())
        adding_.start();
}

void TreeWatch::stop() {
    for (const auto& [descriptor, path] : folders_)
        inotify_rm_watch(fd_, descriptor);
    folders_.clear();
    descriptors_.clear();
    toAdd_.clear();
    adding_.stop();
    gathered_.clear();
    lost_ = false;
    coalesce_.stop();
    // Events still queued for the dropped watches are read and ignored.
    readEvents();
}

void TreeWatch::unwatch(int descriptor) {
    const auto found = folders_.find(descriptor);
    if (found == folders_.end()) return;
    descriptors_.erase(found->second);
    folders_.erase(found);
}

void TreeWatch::readEvents() {
    alignas(inotify_event) char buffer[65536];
    for (;;) {
        const ssize_t length = read(fd_, buffer, sizeof buffer);
        if (length <= 0) break;
        for (ssize_t at = 0; at < length;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            if (event->mask & IN_Q_OVERFLOW) {
                lost_ = true;
                continue;
            }
            const auto found = folders_.find(event->wd);
            if (found == folders_.end()) continue;
            const std::string& folder = found->second;
            if (event->mask & (IN_DELETE_SELF | IN_MOVE_SELF))
                gathered_.emplace(brantle::PathText::parent(folder));
            else if (!(event->mask & IN_IGNORED))
                gathered_.insert(folder);
            if (event->mask & (IN_IGNORED | IN_MOVE_SELF)) {
                // The kernel dropped it, or the folder lives elsewhere now: its path is stale.
                if (!(event->mask & IN_IGNORED)) inotify_rm_watch(fd_, event->wd);
                unwatch(event->wd);
            }
        }
    }
    if ((lost_ || !gathered_.empty()) && !coalesce_.isActive()) coalesce_.start();
}

void TreeWatch::flush() {
    if (std::exchange(lost_, false)) {
        gathered_.clear();
        emit overflowed();
        return;
    }
    if (gathered_.empty()) return;
    std::vector<std::string> folders(gathered_.begin(), gathered_.end());
    gathered_.clear();
    emit changed(folders);
}

} // namespace ambrel

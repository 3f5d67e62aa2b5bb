// Linux: no event history exists, so the change times of the loaded tree's folders stand in
// for it. The event id is the wall-clock time in nanoseconds.
#ifndef __APPLE__

#include "BrantleCore/ChangeHistory.hpp"

#include "BrantleCore/FileTree.hpp"

#include <algorithm>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <time.h>
#include <vector>

namespace brantle::ChangeHistory {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::int64_t nanosPerSecond = 1'000'000'000;

/// What the folder walk needs to know of one folder on disk.
struct FolderState {
    bool isDirectory = false;
    dev_t device = 0;
    std::int64_t changedAt = 0; ///< the later of change and modification time, nanoseconds
};

std::optional<FolderState> folderState(const std::string& path) {
    struct statx sx;
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
              STATX_TYPE | STATX_MTIME | STATX_CTIME, &sx) != 0)
        return std::nullopt;
    const auto nanos = [](const statx_timestamp& t) {
        return t.tv_sec * nanosPerSecond + t.tv_nsec;
    };
    return FolderState{S_ISDIR(sx.stx_mode), makedev(sx.stx_dev_major, sx.stx_dev_minor),
                       std::max(nanos(sx.stx_ctime), nanos(sx.stx_mtime))};
}

std::string_view withoutTrailingSlash(std::string_view path) {
    if (path.size() >= 2 && path.back() == '/') path.remove_suffix(1);
    return path;
}

/// Visits the live folders of the tree in id order (parents before children) and gathers
/// those changed at or after `threshold`; a folder that is gone or no longer a folder
/// reports its parent instead and hides its own subtree. No value means: do not trust it.
class FolderWalk {
public:
    FolderWalk(const FileTree& tree, std::int64_t threshold, Clock::time_point deadline)
        : tree_(tree), threshold_(threshold), deadline_(deadline), hidden_(tree.count()) {}

    std::optional<std::vector<std::string>> run() {
        const auto root = folderState(tree_.rootPath());
        if (!root || !root->isDirectory) return std::nullopt;
        rootDevice_ = root->device;
        if (root->changedAt >= threshold_) changed_.push_back(tree_.rootPath());
        std::size_t visited = 0;
        for (NodeId id = 1; id < tree_.count(); ++id) {
            if (!isVisibleFolder(id)) continue;
            if (++visited % 256 == 0 && Clock::now() > deadline_) return std::nullopt;
            visit(id);
        }
        std::sort(changed_.begin(), changed_.end());
        changed_.erase(std::unique(changed_.begin(), changed_.end()), changed_.end());
        return std::move(changed_);
    }

private:
    /// A live folder whose ancestors are all still where the tree has them.
    bool isVisibleFolder(NodeId id) {
        const NodeFlags flags = tree_.flags(id);
        if (flags.contains(NodeFlags::dead) || hidden_[tree_.parent(id)]) {
            hidden_[id] = true;
            return false;
        }
        return flags.contains(NodeFlags::directory);
    }

    void visit(NodeId id) {
        tree_.rawPath(id, path_);
        const auto state = folderState(path_);
        if (!state || !state->isDirectory) {
            hidden_[id] = true;
            changed_.push_back(tree_.rawPath(tree_.parent(id)));
            return;
        }
        // A folder that became, or stopped being, another volume is read again: its reading
        // decides whether it is entered.
        const bool wasOtherVolume = tree_.flags(id).contains(NodeFlags::mountPoint);
        const bool isOtherVolume = state->device != rootDevice_;
        if (state->changedAt >= threshold_ || wasOtherVolume != isOtherVolume)
            changed_.push_back(path_);
    }

    const FileTree& tree_;
    std::int64_t threshold_;
    Clock::time_point deadline_;
    std::vector<bool> hidden_;
    dev_t rootDevice_ = 0;
    std::string path_;
    std::vector<std::string> changed_;
};

} // namespace

EventID currentEventID() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<EventID>(now.tv_sec) * nanosPerSecond + static_cast<EventID>(now.tv_nsec);
}

ChangeSet changedDirectories(std::string_view under, EventID since,
                             std::chrono::duration<double> timeout, const FileTree& known,
                             std::chrono::nanoseconds margin) {
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(timeout);
    // An id of 0, a clock that went back, or a tree of another root: nothing to compare with.
    if (since == 0 || since > static_cast<EventID>(INT64_MAX) || currentEventID() < since)
        return ChangeSet::fullRescan();
    if (known.count() == 0 || withoutTrailingSlash(under) != known.rootPath())
        return ChangeSet::fullRescan();
    const std::int64_t threshold = static_cast<std::int64_t>(since) - margin.count();
    auto folders = FolderWalk(known, threshold, deadline).run();
    if (!folders || Clock::now() > deadline) return ChangeSet::fullRescan();
    return ChangeSet::of(std::move(*folders));
}

} // namespace brantle::ChangeHistory

#endif

// The model's side of a ring that follows the disk while the window is shown: the watch on the
// focused folder's subtree and the regular quiet catch-up of the whole tree, both through the
// session's catch-up.
#include "AmbrelModel/AppModel.hpp"

namespace ambrel {

void AppModel::connectLiveTree() {
    treeWatch_ = new TreeWatch(this);
    liveCatchUp_ = new QTimer(this);
    liveCatchUp_->setInterval(liveCatchUpInterval);
    connect(liveCatchUp_, &QTimer::timeout, this, &AppModel::catchUpLiveTree);
    connect(treeWatch_, &TreeWatch::changed, this, [this](const std::vector<std::string>& folders) {
        changedFolders_.insert(folders.begin(), folders.end());
        refreshChangedFolders();
    });
    connect(treeWatch_, &TreeWatch::overflowed, this, &AppModel::catchUpLiveTree);
    connect(&session_, &ScanSession::refreshed, this, &AppModel::installRefreshed);
    // A new tree, a new focus or a scan starting changes what is watched.
    connect(this, &AppModel::revisionChanged, this, &AppModel::followFocus);
    connect(this, &AppModel::focusChanged, this, &AppModel::followFocus);
    connect(this, &AppModel::phaseChanged, this, &AppModel::followFocus);
    connect(this, &AppModel::adminScanChanged, this, &AppModel::followFocus);
}

bool AppModel::followsDisk() const {
    return windowShown_ && phase_ == Phase::Ready && view_.tree() && !readOnly() && !adminScan_;
}

void AppModel::setWindowShown(bool shown) {
    requireMainThread();
    if (shown == windowShown_) return;
    windowShown_ = shown;
    if (shown)
        liveCatchUp_->start();
    else
        liveCatchUp_->stop();
    followFocus();
}

void AppModel::followFocus() {
    if (!followsDisk()) {
        treeWatch_->stop();
        changedFolders_.clear();
        return;
    }
    treeWatch_->follow(*view_.tree(), view_.focus());
}

void AppModel::refreshChangedFolders() {
    if (!followsDisk() || changedFolders_.empty()) return;
    std::vector<std::string> folders(changedFolders_.begin(), changedFolders_.end());
    if (session_.refresh(target_, view_.tree(), std::move(folders))) changedFolders_.clear();
}

void AppModel::catchUpLiveTree() {
    requireMainThread();
    if (followsDisk()) session_.refresh(target_, view_.tree(), {});
}

void AppModel::installRefreshed(const std::shared_ptr<const brantle::FileTree>& from,
                                std::shared_ptr<const brantle::FileTree> tree,
                                const ScanTarget& target) {
    requireMainThread();
    // A tree changed meanwhile (a removal, another scan) is newer than the refresh's base.
    if (tree && followsDisk() && from == view_.tree() && target == target_) {
        refreshing_ = true;
        showFinished(std::move(tree), target);
        refreshing_ = false;
        // The suggestions shown stay as the user reads them (and duplicates are not hashed
        // again at every change); opening their pane again makes them afresh.
        if (watch_->started()) recordHistory();
    }
    refreshChangedFolders();
}

} // namespace ambrel

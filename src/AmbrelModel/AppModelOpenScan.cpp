#include "AmbrelModel/AppModel.hpp"
#include "AmbrelModel/OpenedScan.hpp"

namespace ambrel {

void AppModel::openScan(const QString& path) {
    requireMainThread();
    if (path.isEmpty()) return;
    const int request = ++openRequest_;
    session_.runInBackground([this, request, path = path.toStdString()] {
        auto opened = OpenedScan::read(path);
        QMetaObject::invokeMethod(
            this,
            [this, request, opened = std::move(opened)]() mutable {
                // Another target or file was chosen meanwhile.
                if (request != openRequest_) return;
                if (!opened) {
                    showWarning(opened.error());
                    return;
                }
                installOpenedScan(
                    std::make_shared<const brantle::FileTree>(std::move(opened->tree)),
                    OpenedScan::title(opened->meta));
            },
            Qt::QueuedConnection);
    });
}

void AppModel::installOpenedScan(std::shared_ptr<const brantle::FileTree> tree, QString title) {
    if (!tree || tree->count() == 0) {
        showWarning(QStringLiteral("The scan file holds no items."));
        return;
    }
    // Whatever was loading or scanning would replace the opened tree when it finished.
    leaveAdministratorScan();
    session_.stop();
    droppedFocus_.reset();
    openedTitle_ = std::move(title);
    emit targetChanged();
    const auto focus = view_.focus();
    view_.setTree(std::move(tree), std::nullopt);
    if (view_.focus() != focus) emit focusChanged();
    setProgress(std::nullopt);
    if (phase_ != Phase::Ready) setPhase(Phase::Ready);
    // The local disk's figures say nothing about a tree from elsewhere.
    if (volume_) {
        volume_.reset();
        emit fullnessChanged();
    }
    bumpRevision();
    emit volumeChanged();
    relayout();
    setNotice(std::nullopt);
    noteUnreadableFolders();
    if (section_ == Section::Shoreline) analyzeShoreline();
}

void AppModel::leaveOpenedScan() {
    if (!openedTitle_) return;
    openedTitle_.reset();
    emit targetChanged();
}

} // namespace ambrel

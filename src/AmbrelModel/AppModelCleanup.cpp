#include "AmbrelModel/AppModel.hpp"
#include "AmbrelModel/OpenedScan.hpp"
#include "AmbrelModel/RemovalRun.hpp"

#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/Fatal.hpp"
#include "BrantleServices/ItemSize.hpp"
#include "BrantleServices/Locations.hpp"
#include <fcntl.h>
#include <unistd.h>

namespace ambrel {

void AppModel::stage(const std::string& path, std::uint64_t bytes, const QString& name) {
    requireMainThread();
    if (readOnly()) {
        setNotice(Notice::make(OpenedScan::readOnlyReason(), true));
        return;
    }
    if (auto refused = lowTide_.stage(path, bytes, name))
        setNotice(std::move(refused));
    else
        emit lowTideChanged();
}

void AppModel::stage(const QString& path) {
    const auto text = path.toStdString();
    const auto& tree = view_.tree();
    if (const auto node = tree ? tree->node(text) : std::nullopt; node && !tree->isDead(*node)) {
        stageNode(*node);
        return;
    }
    const auto slash = text.rfind('/');
    if (slash == std::string::npos) return;
    const auto name = text.substr(slash + 1);
    const int folder = ::open(slash == 0 ? "/" : text.substr(0, slash).c_str(),
                              O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const auto bytes = folder < 0 ? 0 : brantle::ItemSize::allocated(folder, name);
    if (folder >= 0) ::close(folder);
    stage(text, bytes, QString::fromStdString(name));
}

void AppModel::stageNode(brantle::NodeId node) {
    const auto& tree = *view_.tree();
    const QString name =
        node == brantle::FileTree::root ? targetTitle() : QString::fromStdString(tree.name(node));
    stage(tree.path(node), tree.size(node), name);
}

void AppModel::toggleStaged(int node) {
    const auto& tree = view_.tree();
    if (!tree || node < 0 || std::size_t(node) >= tree->count()) return;
    if (const auto* entry = lowTide_.entry(tree->path(brantle::NodeId(node)))) {
        unstage(entry->id.toString());
        return;
    }
    stageNode(brantle::NodeId(node));
}

void AppModel::unstage(const QString& id) {
    requireMainThread();
    lowTide_.unstage(QUuid::fromString(id));
    emit lowTideChanged();
}

void AppModel::sendCheckedToLowTide() {
    requireMainThread();
    if (readOnly()) {
        setNotice(Notice::make(OpenedScan::readOnlyReason(), true));
        return;
    }
    for (const auto& category : shoreline_)
        for (const auto& finding : category.findings)
            if (const auto path = QString::fromStdString(finding.path);
                shorelineChecked_.contains(path))
                stage(path);
    setNotice(Notice::make(
        CleanupList::addedText(checkedCount(),
                               QString::fromStdString(brantle::formatBytes(checkedBytes()))),
        false));
}

int AppModel::stageState(int node) const {
    const auto& tree = view_.tree();
    if (!tree || node < 0 || std::size_t(node) >= tree->count()) return 0;
    return int(lowTide_.stageState(tree->path(brantle::NodeId(node))));
}

void AppModel::moveToTrash() {
    runRemoval(false);
}
void AppModel::deleteImmediately() {
    runRemoval(true);
}

void AppModel::runRemoval(bool permanent) {
    requireMainThread();
    auto items = lowTide_.items();
    session_.runInBackground([this, items = std::move(items), permanent]() mutable {
        auto outcome = removeStaged(std::move(items), permanent, brantle::DeletionGuard::live(),
                                    brantle::Eraser::standard());
        QMetaObject::invokeMethod(
            this, [this, outcome = std::move(outcome)] { finishRemoval(outcome); },
            Qt::QueuedConnection);
    });
}

void AppModel::finishRemoval(const RemovalOutcome& outcome) {
    requireMainThread();
    if (!outcome.ledgerEntries.empty())
        setTrashLedger(brantle::TrashLedger::standard().record(outcome.ledgerEntries));
    removeFromView(outcome.result.removedPaths);
    lastResult_ = outcome.result;
    if (outcome.result.permanent) {
        finishErasing(outcome.result.movedBytes, {});
    } else if (outcome.result.movedBytes > 0) {
        trashBytes_ += outcome.result.movedBytes;
        emit trashBytesChanged();
    }
    emit removalFinished();
}

void AppModel::removeFromView(const std::vector<std::string>& paths) {
    lowTide_.drop(paths);
    emit lowTideChanged();
    const auto& shown = view_.tree();
    // An opened scan's paths name items elsewhere, not the ones just removed here.
    if (!shown || paths.empty() || readOnly()) return;
    auto tree = std::make_shared<brantle::FileTree>(shown->compacted());
    for (const auto& path : paths)
        if (const auto node = tree->node(path); node && *node != brantle::FileTree::root)
            tree->remove(*node);
    auto focusPath = view_.focusPath();
    // The ring must not centre on a removed folder: keep the nearest live ancestor.
    while (focusPath && !tree->node(*focusPath)) {
        const auto slash = focusPath->rfind('/');
        focusPath = slash == std::string::npos || focusPath->size() <= tree->rootPath().size()
                        ? std::nullopt
                        : std::optional(focusPath->substr(0, slash));
    }
    const auto focus = view_.focus();
    view_.setTree(std::move(tree), focusPath);
    if (view_.focus() != focus) emit focusChanged();
    refreshVolumes();
    relayout();
}

void AppModel::refreshVolumes() {
    setVolumeFor(target_.rootPath());
    watch_->refreshStartupVolume();
}

void AppModel::setTrashLedger(brantle::TrashLedger::State state) {
    if (state == trashLedger_) return;
    trashLedger_ = std::move(state);
    emit trashLedgerChanged();
}

void AppModel::finishErasing(std::uint64_t bytes, const std::set<std::string>& settlingTrashed) {
    requireMainThread();
    if (bytes > 0) {
        erasingBytes_ += bytes;
        emit erasingBytesChanged();
        setTrashLedger(brantle::TrashLedger::standard().addFreed(bytes, settlingTrashed));
    }
    session_.runInBackground([this] {
        brantle::Eraser::standard().waitUntilIdle();
        QMetaObject::invokeMethod(
            this,
            [this] {
                erasingBytes_ = 0;
                emit erasingBytesChanged();
                refreshVolumes();
            },
            Qt::QueuedConnection);
    });
}

void AppModel::refreshTrashLedger() {
    requireMainThread();
    const auto trash = brantle::Locations::trashDirectory();
    const int folder = ::open(trash.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) ::close(folder);
    setTrashLedger(brantle::TrashLedger::standard().refresh(folder >= 0));
}

void AppModel::deleteClearedTrashNow() {
    requireMainThread();
    refreshTrashLedger();
    const auto guard = brantle::DeletionGuard::live();
    std::vector<brantle::GuardedRemoval> removals;
    std::set<std::string> settled;
    std::uint64_t bytes = 0;
    for (const auto& entry : trashLedger_.entries) {
        const auto verdict = guard.check(entry.trashed);
        const auto* removal = verdict.removal();
        if (!removal) continue;
        removals.push_back(*removal);
        settled.insert(entry.trashed);
        bytes += entry.bytes;
    }
    if (removals.empty()) return;
    (void)brantle::Eraser::standard().erase(removals);
    finishErasing(bytes, settled);
}

QVariantList AppModel::lowTideRows() const {
    QVariantList rows;
    for (const auto& item : lowTide_.items())
        rows.append(
            QVariantMap{{"id", item.id.toString()},
                        {"path", QString::fromStdString(item.path)},
                        {"name", item.name},
                        {"bytes", double(item.bytes)},
                        {"caution", QString::fromStdString(item.removal.caution().value_or(""))}});
    return rows;
}

QVariantMap AppModel::trashLedgerMap() const {
    return {{"entries", qsizetype(trashLedger_.entries.size())},
            {"waitingBytes", double(trashLedger_.waitingBytes())},
            {"freedBytes", double(trashLedger_.freedBytes)}};
}

QVariantMap AppModel::trashResultMap() const {
    if (!lastResult_) return {};
    QStringList failures(lastResult_->failures.begin(), lastResult_->failures.end());
    return {{"permanent", lastResult_->permanent},
            {"movedCount", lastResult_->movedCount},
            {"movedBytes", double(lastResult_->movedBytes)},
            {"failures", failures}};
}

} // namespace ambrel

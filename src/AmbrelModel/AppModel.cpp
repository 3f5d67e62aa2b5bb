#include "AmbrelModel/AppModel.hpp"

#include "AmbrelModel/StoredSnapshot.hpp"
#include "BrantleCore/ByteFormat.hpp"
#include "BrantleCore/CatchUp.hpp"
#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/Fatal.hpp"
#include "BrantleCore/ScanOptions.hpp"
#include "BrantleServices/DeletionGuard.hpp"
#include "BrantleServices/Eraser.hpp"
#include "BrantleServices/Locations.hpp"
#include "BrantleServices/TideHistory.hpp"
#include "RingKit/RingLayout.hpp"
#include "Shoreline/RunningApps.hpp"
#include "Shoreline/Shoreline.hpp"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QSettings>
#include <QThread>

#if defined(__APPLE__)
#include <pthread/qos.h>
#endif

#include <algorithm>
#include <limits>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace ambrel {

namespace {

QSettings settings() {
    return QSettings(QStringLiteral("Ambrel"), QStringLiteral("Ambrel"));
}

const QString targetKey = QStringLiteral("target");

QString itemCountKey(const std::string& rootPath) {
    return QStringLiteral("itemCount:") + QString::fromStdString(rootPath);
}

/// Scans, catch-ups and analyses yield to the window's threads, so that a launch draws its
/// first frames while the stored tree is caught up and the window stays smooth while a scan
/// runs. Threads started from here (scan workers) inherit it; it stays with the pool thread.
void runBelowTheWindow() {
#if defined(__APPLE__)
    pthread_set_qos_class_self_np(QOS_CLASS_USER_INITIATED, 0);
#elif defined(__linux__)
    constexpr int backgroundNice = 5;
    // Per thread on Linux; raising one's own nice needs no privilege. A failure only costs
    // smoothness.
    (void)setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), backgroundNice);
#endif
}

double now() {
    return static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
}

} // namespace

AppModel::AppModel(QObject* parent) : QObject(parent) {
    // A scan, a snapshot save and an analysis may all be under way at once.
    pool_.setMaxThreadCount(std::max(4, QThread::idealThreadCount()));
}

AppModel::~AppModel() {
    if (scanner_) scanner_->cancel();
    pool_.waitForDone();
}

void AppModel::requireMainThread() const {
    if (QThread::currentThread() != thread())
        brantle::fatal("AppModel changed off the main thread");
}

void AppModel::runInBackground(std::function<void()> work) {
    pool_.start(std::move(work));
}

void AppModel::whenCurrent(int session, std::function<void()> call) {
    QMetaObject::invokeMethod(
        this,
        [this, session, call = std::move(call)] {
            if (session == session_) call();
        },
        Qt::QueuedConnection);
}

void AppModel::waitForBackgroundWork() {
    pool_.waitForDone();
}

// MARK: sessions

void AppModel::start(std::optional<ScanTarget> target) {
    requireMainThread();
    if (phase_ != Phase::idle) return;
    brantle::Eraser::standard().resumePending();
    load(target.value_or(lastTarget()), false);
}

void AppModel::load(const ScanTarget& target, bool quiet) {
    requireMainThread();
    const auto rootPath = target.rootPath();
    setVolumeFor(rootPath);
    if (!quiet && phase_ != Phase::updating) setPhase(Phase::updating);
    if (scanner_) scanner_->cancel();
    scanner_ = makeScanner(rootPath);
    const int session = ++session_;
    runInBackground([this, target, rootPath, quiet, session, scanner = scanner_] {
        auto loaded = StoredSnapshot::load(rootPath);
        std::shared_ptr<brantle::FileTree> shown;
        if (loaded && !quiet) {
            // The stored tree shows at once; the catch-up works on the original meanwhile.
            shown = std::make_shared<brantle::FileTree>(loaded->tree.compacted());
            whenCurrent(session, [this, target, shown] { preview(shown, target); });
        }
        runBelowTheWindow(); // the decoding above is what the first ring waits for
        auto caughtUp = loaded
                            ? brantle::catchUpChanges(*scanner, std::move(*loaded), catchUpTimeout)
                            : std::nullopt;
        if (!caughtUp) {
            if (!quiet) whenCurrent(session, [this, target] { fullScan(target); });
            return;
        }
        if (scanner->isCancelled()) return;
        if (caughtUp->reread == 0 && shown) {
            // Untouched: the shown tree stays, and the stored event id still holds (the next
            // catch-up merely looks back a little further), so nothing is saved.
            whenCurrent(session, [this, target, shown] { finish(shown, target); });
            return;
        }
        auto tree = std::make_shared<brantle::FileTree>(std::move(caughtUp->tree));
        std::shared_ptr<const brantle::FileTree> copy;
        if (caughtUp->reread > 0)
            copy = std::make_shared<const brantle::FileTree>(tree->compacted());
        whenCurrent(session, [this, target, tree] { finish(tree, target); });
        if (copy) StoredSnapshot::save(*copy, caughtUp->meta.fsEventID);
    });
}

void AppModel::scanAgain() {
    requireMainThread();
    fullScan(target_);
}

void AppModel::scanTarget(const ScanTarget& target) {
    requireMainThread();
    setTarget(target);
    fullScan(target);
}

void AppModel::chooseFolder(const QString& path) {
    if (path.isEmpty()) return;
    scanTarget(ScanTarget::folder(QDir::cleanPath(path).toStdString()));
}

void AppModel::fullScan(const ScanTarget& target) {
    requireMainThread();
    if (tree_) droppedFocus_ = std::pair{target_, tree_->path(focus_)};
    // The toolbar and the gauge's scale follow the target being scanned.
    setTarget(target);
    if (phase_ != Phase::scanning) setPhase(Phase::scanning);
    setProgress(std::nullopt);
    tree_.reset();
    relayout();

    const auto rootPath = target.rootPath();
    setVolumeFor(rootPath);
    if (scanner_) scanner_->cancel();
    scanner_ = makeScanner(rootPath);
    expectedCount_ = storedItemCount(rootPath);
    adminScan_ = false;
    const int session = ++session_;
    runInBackground([this, target, rootPath, session, scanner = scanner_,
                     expected = expectedCount_] {
        auto report = [this, session](const brantle::ScanProgress& progress) {
            whenCurrent(session, [this, progress] {
                if (phase_ == Phase::scanning) setProgress(progress);
            });
        };
        runBelowTheWindow();
        const auto eventID = brantle::ChangeHistory::currentEventID();
        auto tree = std::make_shared<brantle::FileTree>(scanner->scan(rootPath, expected, report));
        if (scanner->isCancelled()) return;
        // The ring shows before the save; the save works on its own copy, so later changes to
        // the shown tree cannot race with it.
        const auto copy = std::make_shared<const brantle::FileTree>(tree->compacted());
        whenCurrent(session, [this, tree, target] { finish(tree, target); });
        StoredSnapshot::save(*copy, eventID);
    });
}

std::shared_ptr<brantle::DiskScanner> AppModel::makeScanner(const std::string& rootPath) {
    const int workers = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    return std::make_shared<brantle::DiskScanner>(brantle::ScanOptions::forVolume(rootPath),
                                                  workers, std::chrono::milliseconds(100));
}

std::int64_t AppModel::storedItemCount(const std::string& rootPath) {
    return settings().value(itemCountKey(rootPath), 0).toLongLong();
}

// MARK: installing a tree

brantle::NodeId AppModel::keptFocus(const brantle::FileTree& tree, const ScanTarget& target) const {
    std::optional<std::string> path;
    if (tree_ && target == target_) {
        path = tree_->path(focus_);
    } else if (droppedFocus_ && droppedFocus_->first == target && target == target_) {
        path = droppedFocus_->second;
    }
    if (!path) return brantle::FileTree::root;
    const auto node = tree.node(*path);
    if (!node || tree.isDead(*node)) return brantle::FileTree::root;
    return *node;
}

void AppModel::installTree(std::shared_ptr<brantle::FileTree> tree, const ScanTarget& target) {
    if (!tree || tree->count() == 0) brantle::fatal("AppModel given no tree");
    const auto focus = keptFocus(*tree, target);
    setTarget(target);
    tree_ = std::move(tree);
    droppedFocus_.reset();
    setFocus(focus);
}

void AppModel::bumpRevision() {
    if (revision_ == std::numeric_limits<int>::max()) brantle::fatal("AppModel revision overflow");
    ++revision_;
    emit revisionChanged();
}

void AppModel::preview(std::shared_ptr<brantle::FileTree> tree, const ScanTarget& target) {
    requireMainThread();
    installTree(std::move(tree), target);
    bumpRevision();
    emit volumeChanged(); // the storage bar's split depends on the tree
    relayout();
}

void AppModel::finish(std::shared_ptr<brantle::FileTree> tree, const ScanTarget& target) {
    requireMainThread();
    installTree(std::move(tree), target);
    setProgress(std::nullopt);
    if (phase_ != Phase::ready) setPhase(Phase::ready);
    const auto rootPath = target.rootPath();
    settings().setValue(itemCountKey(rootPath), static_cast<qlonglong>(tree_->count()));
    recordHistory();
    setVolumeFor(rootPath);
    bumpRevision();
    emit volumeChanged(); // the storage bar's split depends on the tree
    relayout();
    analyzeShoreline();
}

void AppModel::analyzeShoreline() {
    requireMainThread();
    if (!tree_) return;
    setShorelinePhase(ShorelinePhase::analyzing);
    runInBackground([this, tree = tree_, revision = revision_] {
        runBelowTheWindow();
        const auto home = brantle::Locations::homeIn(*tree);
        const auto live = brantle::DeletionGuard::live();
        shoreline::ShorelineContext context(
            *tree, home, brantle::DeletionGuard(home, live.appBundle(), live.isRunningApp()));
        context.runningBundleIDs = shoreline::RunningApps::bundleIDs();
        auto categories = shoreline::Shoreline::analyze(context);
        QMetaObject::invokeMethod(
            this,
            [this, revision, categories = std::move(categories)]() mutable {
                // A newer tree's own analysis is under way.
                if (revision == revision_) installShoreline(std::move(categories));
            },
            Qt::QueuedConnection);
    });
}

void AppModel::installShoreline(std::vector<shoreline::ShorelineCategory> categories) {
    requireMainThread();
    shoreline_ = std::move(categories);
    shorelineChecked_.clear();
    for (const auto& category : shoreline_)
        for (const auto& finding : category.findings)
            if (finding.safety == shoreline::Safety::safe)
                shorelineChecked_.insert(QString::fromStdString(finding.path));
    emit shorelineChanged();
    emit shorelineCheckedChanged();
    setShorelinePhase(ShorelinePhase::ready);
}

void AppModel::setAccessProbeOpen(brantle::FullDiskAccess::OpenFunction open) {
    accessProbeOpen_ = std::move(open);
}

void AppModel::refreshFullDiskAccess() {
    requireMainThread();
    const auto probes = brantle::FullDiskAccess::probes(brantle::Locations::homeDirectory());
    const bool granted = brantle::FullDiskAccess::status(probes, accessProbeOpen_) !=
                         brantle::FullDiskAccess::Status::denied;
    if (granted == hasFullDiskAccess_) return;
    hasFullDiskAccess_ = granted;
    emit hasFullDiskAccessChanged();
    if (!granted) return;
    setNotice(Notice::make(
        QStringLiteral(
            "Full Disk Access is on. Rescanning to include the folders that were hidden."),
        false));
    if (phase_ != Phase::ready) return;
    if (scanner_) scanner_->cancel();
    fullScan(target_);
}

void AppModel::recordHistory() {
    requireMainThread();
    if (!tree_) return;
    const auto home = brantle::Locations::homeIn(*tree_);
    if (!tree_->node(home)) return;
    startupVolume_ = brantle::VolumeInfo::containing("/");
    std::vector<std::string> roots{home};
    if (tree_->node("/Applications")) roots.emplace_back("/Applications");
    const double date = now();
    const auto summary =
        brantle::TideSummary::make(*tree_, roots, startupVolume_, date, 10'000'000, 6);
    const auto history = brantle::TideHistory::standard();
    if (!history.save(summary)) return;
    history.prune(date);
    history_ = history.load();
    emit historyChanged();
}

// MARK: layout and navigation

std::vector<ringkit::RingExtra> AppModel::extras() const {
    std::vector<ringkit::RingExtra> out;
    if (phase_ != Phase::ready || target_.kind != ScanTarget::Kind::startupDisk ||
        focus_ != brantle::FileTree::root || !volume_ || !tree_)
        return out;
    const auto purgeable = volume_->purgeable();
    // The purgeable figure is the volume's own; the hidden share leaves it out.
    const auto hidden = volume_->hidden(tree_->size(brantle::FileTree::root) + purgeable);
    if (hidden > 0) out.push_back({Kind::hidden(), hidden});
    if (purgeable > 0) out.push_back({Kind::purgeable(), purgeable});
    return out;
}

void AppModel::relayout() {
    requireMainThread();
    previousSegments_ = std::move(segments_);
    segments_.clear();
    if (tree_) {
        const auto extra = extras();
        segments_ = ringkit::RingLayout::layout(*tree_, focus_, maxDepth,
                                                ringkit::RingLayout::defaultMinAngle, extra);
    }
    ++layoutID_;
    emit layoutIDChanged();
    emit fullnessChanged();
}

void AppModel::focusOn(int node) {
    requireMainThread();
    if (!tree_ || node < 0 || static_cast<std::size_t>(node) >= tree_->count()) return;
    const auto id = static_cast<brantle::NodeId>(node);
    if (id == focus_ || tree_->isDead(id)) return;
    setFocus(id);
    relayout();
}

void AppModel::goUp() {
    requireMainThread();
    if (!tree_ || focus_ == brantle::FileTree::root) return;
    focusOn(static_cast<int>(tree_->parent(focus_)));
}

void AppModel::show(Section section) {
    requireMainThread();
    if (section == section_) return;
    section_ = section;
    emit sectionChanged();
}

std::vector<brantle::NodeId> AppModel::breadcrumbs() const {
    std::vector<brantle::NodeId> out;
    if (!tree_) return out;
    for (auto node = focus_; node != brantle::FileTree::none; node = tree_->parent(node)) {
        out.push_back(node);
        if (node == brantle::FileTree::root) break;
    }
    std::ranges::reverse(out);
    return out;
}

std::vector<brantle::NodeId> AppModel::listItems() const {
    if (!tree_) return {};
    return tree_->childrenBySize(focus_);
}

std::uint64_t AppModel::size(const Kind& kind) const {
    if (kind.isNode()) return tree_ && kind.id < tree_->count() ? tree_->size(kind.id) : 0;
    const auto found = std::ranges::find(segments_, kind, &ringkit::RingSegment::kind);
    return found == segments_.end() ? 0 : found->bytes;
}

QString AppModel::label(const Kind& kind) const {
    switch (kind.type) {
    case Kind::Type::node:
        if (kind.id == brantle::FileTree::root) return targetTitle();
        return tree_ && kind.id < tree_->count() ? QString::fromStdString(tree_->name(kind.id))
                                                 : QString();
    case Kind::Type::smaller:
        return QLocale().toString(kind.count) + QStringLiteral(" smaller items");
    case Kind::Type::hidden:
        return QStringLiteral("Hidden & system space");
    case Kind::Type::purgeable:
        return QStringLiteral("Purgeable (macOS frees this itself)");
    }
    return {};
}

double AppModel::fullness() const {
    if (phase_ == Phase::scanning && progress_ && volume_) {
        double used = static_cast<double>(volume_->used());
        if (target_.kind != ScanTarget::Kind::startupDisk) used = std::max(used, 3.0) / 2;
        if (used <= 0) return 0;
        return std::min(0.98, static_cast<double>(progress_->bytes) / used);
    }
    if (!tree_ || phase_ != Phase::ready) return 0;
    if (focus_ == brantle::FileTree::root) {
        if (!volume_) return 0;
        if (volume_->total == 0) return 0;
        return static_cast<double>(volume_->used()) / static_cast<double>(volume_->total);
    }
    const auto root = tree_->size(brantle::FileTree::root);
    if (root == 0) return 0;
    return std::clamp(static_cast<double>(tree_->size(focus_)) / static_cast<double>(root), 0.02,
                      1.0);
}

ringkit::RingMorph::ParentLookup AppModel::parentLookup() const {
    if (!tree_) return [](brantle::NodeId) { return std::optional<brantle::NodeId>(); };
    return [tree = tree_](brantle::NodeId id) -> std::optional<brantle::NodeId> {
        if (id == brantle::FileTree::root || id >= tree->count()) return std::nullopt;
        return tree->parent(id);
    };
}

// MARK: setters

void AppModel::setPhase(Phase phase) {
    requireMainThread();
    phase_ = phase;
    emit phaseChanged();
    emit fullnessChanged();
}

void AppModel::setShorelinePhase(ShorelinePhase phase) {
    requireMainThread();
    if (phase == shorelinePhase_) return;
    shorelinePhase_ = phase;
    emit shorelinePhaseChanged();
}

void AppModel::setTarget(const ScanTarget& target) {
    requireMainThread();
    if (target == target_) return;
    target_ = target;
    settings().setValue(
        targetKey, target.kind == ScanTarget::Kind::folder ? QString::fromStdString(target.path)
                   : target.kind == ScanTarget::Kind::home ? QStringLiteral("home")
                                                           : QStringLiteral("startupDisk"));
    emit targetChanged();
}

ScanTarget AppModel::lastTarget() {
    const auto stored = settings().value(targetKey).toString();
    if (stored == QStringLiteral("home")) return ScanTarget::home();
    if (stored.startsWith(u'/') && QFileInfo(stored).isDir())
        return ScanTarget::folder(stored.toStdString());
    return ScanTarget::startupDisk();
}

void AppModel::setFocus(brantle::NodeId focus) {
    requireMainThread();
    if (focus == focus_) return;
    focus_ = focus;
    emit focusChanged();
}

void AppModel::setProgress(std::optional<brantle::ScanProgress> progress) {
    requireMainThread();
    progress_ = progress;
    emit progressChanged();
    emit fullnessChanged();
}

void AppModel::setVolumeFor(const std::string& rootPath) {
    requireMainThread();
    const auto volume = brantle::VolumeInfo::containing(rootPath);
    if (volume == volume_) return;
    volume_ = volume;
    emit volumeChanged();
    emit fullnessChanged();
}

void AppModel::setNotice(std::optional<Notice> notice) {
    requireMainThread();
    if (notice == notice_) return;
    notice_ = std::move(notice);
    emit noticeChanged();
}

} // namespace ambrel

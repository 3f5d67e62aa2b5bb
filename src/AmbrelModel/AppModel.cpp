#include "AmbrelModel/AppModel.hpp"

#include "AmbrelModel/Settings.hpp"
#include "BrantleCore/Fatal.hpp"
#include "BrantleCore/TreeCounts.hpp"
#include "BrantleServices/DeletionGuard.hpp"
#include "BrantleServices/Eraser.hpp"
#include "BrantleServices/Locations.hpp"
#include "BrantleServices/TideHistory.hpp"
#include "Shoreline/RunningApps.hpp"
#include "Shoreline/Shoreline.hpp"

#include <QDateTime>
#include <QDir>
#include <QLocale>
#include <QThread>

#include <algorithm>
#include <limits>

namespace ambrel {

AppModel::AppModel(QObject* parent)
    : QObject(parent), watch_(new SpaceWatch(*this)), search_(new SearchResults(this)) {
    // Every new tree is laid out; the search takes it from there.
    connect(this, &AppModel::layoutIDChanged, search_, [this] { search_->setTree(view_.tree()); });
    connect(&session_, &ScanSession::previewed, this, &AppModel::preview);
    connect(&session_, &ScanSession::finished, this, &AppModel::finish);
    connect(&session_, &ScanSession::scanNeeded, this, &AppModel::fullScan);
    comparison_ = new ScanComparison(
        [this](std::function<void()> work) { session_.runInBackground(std::move(work)); }, this);
    connect(&session_, &ScanSession::stored, comparison_, &ScanComparison::previousReplaced);
    connect(&session_, &ScanSession::progressed, this, [this](const brantle::ScanProgress& p) {
        if (phase_ == Phase::Scanning) setProgress(p);
    });
    connectLiveTree();
}

AppModel::~AppModel() {
    session_.cancel();
    session_.waitForDone();
}

void AppModel::requireMainThread() const {
    if (QThread::currentThread() != thread())
        brantle::fatal("AppModel changed off the main thread");
}

void AppModel::waitForBackgroundWork() {
    session_.waitForDone();
}

// MARK: sessions

void AppModel::start(const std::optional<ScanTarget>& target) {
    requireMainThread();
    if (phase_ != Phase::Idle) return;
    brantle::Eraser::standard().resumePending();
    load(target.value_or(Settings::lastTarget()), false);
}

void AppModel::load(const ScanTarget& target, bool quiet) {
    requireMainThread();
    // A background refresh must not replace a scan opened from a file.
    if (quiet && readOnly()) return;
    if (!quiet) ++openRequest_; // a target chosen after a file wins over it
    leaveOpenedScan();
    leaveAdministratorScan();
    setVolumeFor(target.rootPath());
    if (!quiet && phase_ != Phase::Updating) setPhase(Phase::Updating);
    session_.load(target, quiet);
}

void AppModel::scanAgain() {
    requireMainThread();
    // An opened scan's files are not here to scan; a target chosen in the toolbar leaves it.
    if (readOnly()) return;
    ++openRequest_;
    fullScan(target_);
}

void AppModel::stopScan() {
    requireMainThread();
    if (phase_ != Phase::Scanning && phase_ != Phase::Updating) return;
    leaveAdministratorScan();
    session_.stop();
    setProgress(std::nullopt);
    setPhase(Phase::Ready);
}

void AppModel::scanTarget(const ScanTarget& target) {
    requireMainThread();
    ++openRequest_;
    setTarget(target);
    fullScan(target);
}

void AppModel::chooseFolder(const QString& path) {
    if (path.isEmpty()) return;
    scanTarget(ScanTarget::folder(QDir::cleanPath(path).toStdString()));
}

void AppModel::fullScan(const ScanTarget& target) {
    requireMainThread();
    leaveAdministratorScan();
    if (const auto path = view_.focusPath(); path && !readOnly())
        droppedFocus_ = std::pair{target_, *path};
    leaveOpenedScan();
    // The toolbar and the gauge's scale follow the target being scanned.
    setTarget(target);
    if (phase_ != Phase::Scanning) setPhase(Phase::Scanning);
    setProgress(std::nullopt);
    view_.setTree(nullptr, std::nullopt);
    relayout();
    const auto rootPath = target.rootPath();
    setVolumeFor(rootPath);
    expectedCount_ = Settings::itemCount(rootPath);
    session_.fullScan(target, expectedCount_);
}

void AppModel::scanAsAdministrator() {
    requireMainThread();
    leaveAdministratorScan();
    ++openRequest_;
    leaveOpenedScan();
    session_.cancel();
    const ScanTarget disk = ScanTarget::startupDisk();
    setTarget(disk);
    if (phase_ != Phase::Scanning) setPhase(Phase::Scanning);
    setProgress(std::nullopt);
    view_.setTree(nullptr, std::nullopt);
    relayout();
    setVolumeFor(disk.rootPath());
    adminClient_ = new AdministratorScan(helperLaunch_, this);
    connect(adminClient_, &AdministratorScan::unavailable, this,
            [this](bool needsApproval, const QString& message) {
                fallBackFromAdministratorScan(
                    needsApproval
                        ? Notice::make("To scan as administrator, turn on Ambrel under “Allow in "
                                       "the Background” in Login Items, then choose Scan as "
                                       "Administrator again.",
                                       false)
                        : Notice::make("Administrator scan isn't available (" + message +
                                           "). Showing your regular scan.",
                                       true));
            });
    connect(adminClient_, &AdministratorScan::stopped, this, [this](const QString& description) {
        fallBackFromAdministratorScan(Notice::make(
            "The administrator scan stopped (" + description + "). Showing your regular scan.",
            true));
    });
    connect(adminClient_, &AdministratorScan::progressed, this,
            [this](const brantle::ScanProgress& p) {
                if (phase_ == Phase::Scanning) setProgress(p);
            });
    connect(adminClient_, &AdministratorScan::finished, this,
            [this, disk](std::shared_ptr<const brantle::FileTree> tree) {
                leaveAdministratorScan();
                finish(std::move(tree), disk);
                adminScan_ = true;
                emit adminScanChanged();
            });
    const auto excluded = Settings::excludedPaths();
    adminClient_->start(disk.rootPath(), {excluded.begin(), excluded.end()});
}

void AppModel::leaveAdministratorScan() {
    if (adminClient_) {
        // Abandoned, not waited for: pkexec may still be asking for the password.
        adminClient_->disconnect(this);
        adminClient_->abandon();
        adminClient_->deleteLater();
        adminClient_ = nullptr;
    }
    if (adminScan_) {
        adminScan_ = false;
        emit adminScanChanged();
    }
}

void AppModel::fallBackFromAdministratorScan(Notice notice) {
    leaveAdministratorScan();
    setNotice(std::move(notice));
    load(ScanTarget::startupDisk(), false);
}

// MARK: installing a tree

void AppModel::installTree(std::shared_ptr<const brantle::FileTree> tree,
                           const ScanTarget& target) {
    if (!tree || tree->count() == 0) brantle::fatal("AppModel given no tree");
    std::optional<std::string> focusPath;
    if (target == target_) {
        if (view_.tree())
            focusPath = view_.focusPath();
        else if (droppedFocus_ && droppedFocus_->first == target)
            focusPath = droppedFocus_->second;
    }
    const auto focus = view_.focus();
    setTarget(target);
    view_.setTree(std::move(tree), focusPath);
    droppedFocus_.reset();
    if (view_.focus() != focus) emit focusChanged();
}

void AppModel::bumpRevision() {
    if (revision_ == std::numeric_limits<int>::max()) brantle::fatal("AppModel revision overflow");
    ++revision_;
    emit revisionChanged();
}

void AppModel::preview(std::shared_ptr<const brantle::FileTree> tree, const ScanTarget& target) {
    requireMainThread();
    installTree(std::move(tree), target);
    bumpRevision();
    emit volumeChanged(); // the storage bar's split depends on the tree
    relayout();
}

void AppModel::finish(std::shared_ptr<const brantle::FileTree> tree, const ScanTarget& target) {
    showFinished(std::move(tree), target);
    serveSection();
}

void AppModel::showFinished(std::shared_ptr<const brantle::FileTree> tree,
                            const ScanTarget& target) {
    requireMainThread();
    installTree(std::move(tree), target);
    setProgress(std::nullopt);
    if (phase_ != Phase::Ready) setPhase(Phase::Ready);
    setVolumeFor(target.rootPath());
    bumpRevision();
    emit volumeChanged(); // the storage bar's split depends on the tree
    relayout();
    noteUnreadableFolders();
}

void AppModel::noteUnreadableFolders() {
    const bool ours = notice_ && notice_->id == unreadableNotice_;
    // A warning still standing matters more than the count; an older count is replaced.
    if (notice_ && notice_->isWarning && !ours) return;
    const auto count = brantle::TreeCounts::of(*view_.tree()).unreadableFolders;
    if (count == 0) {
        if (ours) setNotice(std::nullopt);
        return;
    }
    auto notice = Notice::make(
        count == 1 ? QStringLiteral("1 folder could not be read; its contents are not counted.")
                   : QStringLiteral("%1 folders could not be read; their contents are not counted.")
                         .arg(QLocale().toString(static_cast<qlonglong>(count))),
        false);
    unreadableNotice_ = notice.id;
    setNotice(std::move(notice));
}

// MARK: suggestions and history, on demand

void AppModel::show(Section section) {
    requireMainThread();
    if (section == section_) return;
    section_ = section;
    emit sectionChanged();
    serveSection();
}

void AppModel::serveSection() {
    if (section_ == Section::Shoreline) analyzeShoreline();
    // Space Watch records each installed tree; otherwise only the History pane asks.
    if (section_ == Section::History || watch_->started()) recordHistory();
}

void AppModel::analyzeShoreline() {
    requireMainThread();
    const auto& tree = view_.tree();
    if (!tree || analyzedTree_.lock() == tree) return;
    analyzedTree_ = tree;
    setShorelinePhase(ShorelinePhase::Analyzing);
    session_.runInBackground([this, tree, excluded = Settings::excludedPaths()] {
        const auto home = brantle::Locations::homeIn(*tree);
        const auto live = brantle::DeletionGuard::live();
        shoreline::ShorelineContext context(
            *tree, home, brantle::DeletionGuard(home, live.appBundle(), live.isRunningApp()));
        context.runningBundleIDs = shoreline::RunningApps::bundleIDs();
        context.excludedPaths = excluded;
        auto categories = shoreline::Shoreline::analyze(context);
        QMetaObject::invokeMethod(
            this,
            [this, tree, categories = std::move(categories)]() mutable {
                // A newer tree's own analysis is under way.
                if (tree == view_.tree()) installShoreline(std::move(categories));
            },
            Qt::QueuedConnection);
    });
}

void AppModel::installShoreline(std::vector<shoreline::ShorelineCategory> categories) {
    requireMainThread();
    // A finding already shown keeps its tick as the user left it: the tree follows the disk,
    // so the suggestions are made again while the user reads them.
    QSet<QString> shown;
    for (const auto& category : shoreline_)
        for (const auto& finding : category.findings)
            shown.insert(QString::fromStdString(finding.path));
    shoreline_ = std::move(categories);
    QSet<QString> checked;
    for (const auto& category : shoreline_)
        for (const auto& finding : category.findings) {
            const auto path = QString::fromStdString(finding.path);
            if (shown.contains(path) ? shorelineChecked_.contains(path)
                                     : finding.safety == shoreline::Safety::safe)
                checked.insert(path);
        }
    shorelineChecked_ = std::move(checked);
    emit shorelineChanged();
    emit shorelineCheckedChanged();
    setShorelinePhase(ShorelinePhase::Ready);
}

namespace {

/// Today's record already holds these folder sizes: the tree has not changed since.
bool recordedToday(const std::vector<brantle::TideSummary>& history,
                   const brantle::TideSummary& summary) {
    return !history.empty() &&
           brantle::TideHistory::fileName(history.back().date) ==
               brantle::TideHistory::fileName(summary.date) &&
           history.back().folders == summary.folders;
}

} // namespace

void AppModel::recordHistory() {
    requireMainThread();
    auto tree = view_.tree();
    // A scan from elsewhere is no day of this computer's history.
    if (!tree || readOnly() || recordedTree_.lock() == tree) return;
    const auto home = brantle::Locations::homeIn(*tree);
    recordedTree_ = tree;
    const auto roots = SpaceWatch::historyRoots(*tree, home, *brantle::PlatformProfile::current());
    session_.runInBackground([this, tree, roots] {
        const auto startupVolume = brantle::VolumeInfo::containing("/");
        const auto history = brantle::TideHistory::standard();
        auto summaries = history.load();
        bool saved = false;
        if (!roots.empty()) {
            const double date = static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000;
            const auto summary =
                brantle::TideSummary::make(*tree, roots, startupVolume, date, 10'000'000, 6);
            if (!recordedToday(summaries, summary) && history.save(summary)) {
                saved = true;
                history.prune(date);
                summaries = history.load();
            }
        }
        QMetaObject::invokeMethod(
            this,
            [this, saved, summaries = std::move(summaries)]() mutable {
                watch_->refreshStartupVolume();
                history_ = std::move(summaries);
                emit historyChanged();
                if (saved && watch_->started()) watch_->evaluateAlerts(true);
            },
            Qt::QueuedConnection);
    });
}

// MARK: Full Disk Access

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
    if (phase_ == Phase::Ready) fullScan(target_);
}

// MARK: layout and navigation

void AppModel::relayout() {
    requireMainThread();
    const bool wholeDisk = phase_ == Phase::Ready && target_.kind == ScanTarget::Kind::StartupDisk;
    view_.relayout(wholeDisk ? volume_ : std::nullopt);
    // Every new tree is laid out; one opened from a file has no previous snapshot here, and a
    // scan's preview would only seem to have shrunk.
    // Previews and live refreshes come every second or so: their kinds and changes are paced.
    const auto pace =
        phase_ == Phase::Scanning || refreshing_ ? JobPacer::Pace::spaced : JobPacer::Pace::soon;
    comparison_->show(readOnly() || phase_ == Phase::Scanning ? nullptr : view_.tree(), pace);
    classifyKinds(pace);
    if (colourByKind_ && kinds_)
        view_.colourByKind([this](brantle::NodeId node) {
            const auto found = kindsNode(node);
            return found ? kinds_->kindOf(*found) : brantle::FileKind::other;
        });
    emit layoutIDChanged();
    emit kindsChanged();
    emit fullnessChanged();
}

void AppModel::focusOn(int node) {
    requireMainThread();
    if (node < 0 || !view_.setFocus(static_cast<brantle::NodeId>(node))) return;
    emit focusChanged();
    relayout();
}

void AppModel::goUp() {
    requireMainThread();
    const auto& tree = view_.tree();
    if (!tree || view_.focus() == brantle::FileTree::root) return;
    focusOn(static_cast<int>(tree->parent(view_.focus())));
}

int AppModel::folderOf(const Kind& kind) const {
    const auto folder = view_.folderOf(kind);
    return folder ? static_cast<int>(*folder) : -1;
}

double AppModel::fullness() const {
    if (phase_ == Phase::Scanning && progress_ && volume_) {
        double used = static_cast<double>(volume_->used());
        if (target_.kind != ScanTarget::Kind::StartupDisk) used = std::max(used, 3.0) / 2;
        if (used <= 0) return 0;
        return std::min(0.98, static_cast<double>(progress_->bytes) / used);
    }
    if (!view_.tree() || phase_ != Phase::Ready) return 0;
    if (view_.focus() != brantle::FileTree::root) return view_.focusShare();
    if (!volume_ || volume_->total == 0) return 0;
    return static_cast<double>(volume_->used()) / static_cast<double>(volume_->total);
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
    Settings::setLastTarget(target);
    emit targetChanged();
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

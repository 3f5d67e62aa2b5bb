#pragma once

#include "AmbrelModel/AdministratorScan.hpp"
#include "AmbrelModel/CleanupList.hpp"
#include "AmbrelModel/JobPacer.hpp"
#include "AmbrelModel/Notice.hpp"
#include "AmbrelModel/RemovalRun.hpp"
#include "AmbrelModel/ScanComparison.hpp"
#include "AmbrelModel/ScanSession.hpp"
#include "AmbrelModel/ScanTarget.hpp"
#include "AmbrelModel/SearchResults.hpp"
#include "AmbrelModel/Settings.hpp"
#include "AmbrelModel/SpaceWatch.hpp"
#include "AmbrelModel/TreeWatch.hpp"
#include "AmbrelModel/ViewState.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleServices/FullDiskAccess.hpp"
#include "BrantleServices/TideSummary.hpp"
#include "BrantleServices/TreeKinds.hpp"
#include "BrantleServices/VolumeInfo.hpp"
#include "RingKit/RingSegment.hpp"
#include "Shoreline/ShorelineCategory.hpp"

#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <QVariantList>
#include <QVariantMap>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace ambrel {

/// The application's one model, the object every view reads: the scan target and its tree
/// (from a `ScanSession`), what the window shows of it (a `ViewState`), the suggestions, the
/// usage history and the notice line. Lives on the main thread; every change made from
/// another thread is fatal.
class AppModel : public QObject {
    Q_OBJECT
    // Two enums share value names, so QML names them with their enum: AppModel.Phase.Ready.
    Q_CLASSINFO("RegisterEnumClassesUnscoped", "false")
    Q_PROPERTY(Section section READ section WRITE show NOTIFY sectionChanged)
    Q_PROPERTY(Phase phase READ phase NOTIFY phaseChanged)
    Q_PROPERTY(ShorelinePhase shorelinePhase READ shorelinePhase NOTIFY shorelinePhaseChanged)
    Q_PROPERTY(int focus READ focusIndex NOTIFY focusChanged)
    Q_PROPERTY(int layoutID READ layoutID NOTIFY layoutIDChanged)
    Q_PROPERTY(int revision READ revision NOTIFY revisionChanged)
    Q_PROPERTY(bool hasFullDiskAccess READ hasFullDiskAccess NOTIFY hasFullDiskAccessChanged)
    Q_PROPERTY(QString targetTitle READ targetTitle NOTIFY targetChanged)
    Q_PROPERTY(ambrel::ScanTargetKinds::Kind targetKind READ targetKind NOTIFY targetChanged)
    Q_PROPERTY(bool readOnly READ readOnly NOTIFY targetChanged)
    Q_PROPERTY(QString noticeText READ noticeText NOTIFY noticeChanged)
    Q_PROPERTY(bool noticeIsWarning READ noticeIsWarning NOTIFY noticeChanged)
    Q_PROPERTY(QVariantMap progress READ progressMap NOTIFY progressChanged)
    Q_PROPERTY(double fullness READ fullness NOTIFY fullnessChanged)
    Q_PROPERTY(QVariantList breadcrumbItems READ breadcrumbItems NOTIFY layoutIDChanged)
    Q_PROPERTY(QVariantList items READ itemRows NOTIFY layoutIDChanged)
    Q_PROPERTY(QVariantMap storage READ storage NOTIFY volumeChanged)
    Q_PROPERTY(bool adminScan READ adminScan NOTIFY adminScanChanged)
    Q_PROPERTY(bool showMenuBar READ showMenuBar WRITE setShowMenuBar NOTIFY showMenuBarChanged)
    Q_PROPERTY(bool openAtLogin READ openAtLogin WRITE setOpenAtLogin NOTIFY openAtLoginChanged)
    Q_PROPERTY(QVariantList usageHistory READ usageHistory NOTIFY historyChanged)
    Q_PROPERTY(QVariantList weekGrowth READ weekGrowth NOTIFY historyChanged)
    Q_PROPERTY(QVariantList monthGrowth READ monthGrowth NOTIFY historyChanged)
    Q_PROPERTY(QString forecastText READ forecastText NOTIFY historyChanged)
    Q_PROPERTY(QVariantList lowTide READ lowTideRows NOTIFY lowTideChanged)
    Q_PROPERTY(double stagedBytes READ stagedBytesValue NOTIFY lowTideChanged)
    Q_PROPERTY(double erasingBytes READ erasingBytes NOTIFY erasingBytesChanged)
    Q_PROPERTY(double trashBytes READ trashBytes NOTIFY trashBytesChanged)
    Q_PROPERTY(QVariantMap trashResult READ trashResultMap NOTIFY removalFinished)
    Q_PROPERTY(QVariantMap trashLedger READ trashLedgerMap NOTIFY trashLedgerChanged)
    Q_PROPERTY(QVariantList shoreline READ shorelineRows NOTIFY shorelineChanged)
    Q_PROPERTY(double shorelineTotal READ shorelineTotalValue NOTIFY shorelineChanged)
    Q_PROPERTY(int checkedCount READ checkedCount NOTIFY shorelineCheckedChanged)
    Q_PROPERTY(double checkedBytes READ checkedBytesValue NOTIFY shorelineCheckedChanged)
    Q_PROPERTY(int historyDays READ historyDays NOTIFY historyChanged)
    Q_PROPERTY(ambrel::ScanComparison* comparison READ comparison CONSTANT)
    Q_PROPERTY(ambrel::SearchResults* search READ search CONSTANT)
    Q_PROPERTY(QVariantList kinds READ kindRows NOTIFY kindsChanged)
    Q_PROPERTY(bool colourByKind READ colourByKind WRITE setColourByKind NOTIFY colourByKindChanged)
    Q_PROPERTY(QStringList excludedFolders READ excludedFolders NOTIFY excludedFoldersChanged)

public:
    enum class Phase { Idle, Scanning, Updating, Ready };
    Q_ENUM(Phase)
    /// The panes; `LowTide` is the Cleanup List.
    enum class Section { Explorer, Shoreline, History, LowTide };
    Q_ENUM(Section)
    enum class ShorelinePhase { Idle, Analyzing, Ready, Unavailable };
    Q_ENUM(ShorelinePhase)
    using Kind = ringkit::RingSegment::Kind;

    explicit AppModel(QObject* parent = nullptr);
    ~AppModel() override;

    /// Called once at launch: resumes the deletions an earlier run left pending, then loads
    /// the snapshot of `target` (by default the target shown when the program last ran),
    /// else scans it.
    void start(const std::optional<ScanTarget>& target = std::nullopt);
    /// Shows `target` from its stored snapshot brought up to date, else (unless `quiet`)
    /// scans it afresh. A quiet load leaves the phase and the tree as they are on failure.
    void load(const ScanTarget& target, bool quiet);
    /// "Scan again from scratch": a full scan of the current target; nothing for an opened scan.
    Q_INVOKABLE void scanAgain();
    /// Stops the running scan or catch-up at once; the window is left ready with what it has.
    Q_INVOKABLE void stopScan();
    /// Switches to a target chosen in the toolbar and scans it from scratch.
    void scanTarget(const ScanTarget& target);
    Q_INVOKABLE void showStartupDisk() { load(ScanTarget::startupDisk(), false); }
    Q_INVOKABLE void showHome() { load(ScanTarget::home(), false); }
    Q_INVOKABLE void chooseFolder(const QString& path);
    /// Shows the scan in a snapshot or ncdu file, read in the background, read-only until
    /// another target is shown. A file that cannot be read leaves the view as it is and says
    /// why in the notice.
    Q_INVOKABLE void openScan(const QString& path);
    /// True while the tree shown was opened from a file: nothing of it can be removed.
    bool readOnly() const { return openedTitle_.has_value(); }
    /// Scans the startup disk through the administrator helper; when the helper cannot be
    /// used or the scan fails, says why and shows the regular scan instead.
    Q_INVOKABLE void scanAsAdministrator();
    /// How the administrator helper is started (the installed one by default).
    void setHelperLaunch(helperkit::AdminHelper::Launch launch) {
        helperLaunch_ = std::move(launch);
    }
    /// Installs a finished tree for `target`, keeping the focused folder by path.
    void finish(std::shared_ptr<const brantle::FileTree> tree, const ScanTarget& target);
    /// Shows a stored tree while it is brought up to date; the phase stays `Updating` and
    /// `finish` follows with the tree caught up.
    void preview(std::shared_ptr<const brantle::FileTree> tree, const ScanTarget& target);
    /// Rebuilds the ring's segments for the current tree and focus.
    void relayout();
    /// Centres the ring on `node`; nothing when it is the focus already or there is no tree.
    Q_INVOKABLE void focusOn(int node);
    /// Centres the ring on the focus's parent; nothing at the root.
    Q_INVOKABLE void goUp();
    /// Probes Full Disk Access again; when it has just been granted, says so and rescans the
    /// shown target to take in the folders that were hidden.
    Q_INVOKABLE void refreshFullDiskAccess();
    /// Runs the suggestions on the current tree unless they ran on it already; a result for
    /// a tree no longer shown is dropped. The Suggestions pane asks for it.
    void analyzeShoreline();
    /// Replaces the open call of the Full Disk Access probe (the real one by default).
    void setAccessProbeOpen(brantle::FullDiskAccess::OpenFunction open);
    /// Selects the pane shown; a pane that needs the suggestions or the history gets them.
    void show(Section section);
    /// Saves today's usage summary when the tree covers the home folder and differs from
    /// what today's record holds, then reloads the history; in the background. The History
    /// pane and Space Watch ask for it.
    void recordHistory();
    /// Starts Space Watch; once, at launch.
    void startTideWatch();
    SpaceWatch& watch() { return *watch_; }
    /// The shown tree against the previous snapshot of its target.
    ScanComparison* comparison() const { return comparison_; }
    /// The search over the shown tree; it follows each new tree.
    SearchResults* search() const { return search_; }
    /// Shows the pane a notification named ("shoreline", "history"; another name the
    /// explorer, none the history); the window is asked to come forward.
    Q_INVOKABLE void openSection(const QString& section);
    /// The tray icon is shown; without it, closing the last window quits.
    bool showMenuBar() const;
    void setShowMenuBar(bool on);
    /// Ambrel starts at login, in the tray only.
    bool openAtLogin() const;
    void setOpenAtLogin(bool on);
    /// The alert switches ("alertLowSpace", "alertFillingFast", "alertBigGrowth"); another
    /// key reads false and is not stored.
    Q_INVOKABLE bool alertSwitch(const QString& key) const;
    Q_INVOKABLE void setAlertSwitch(const QString& key, bool on);
    /// The folders scans leave out, from the next scan or catch-up on.
    QStringList excludedFolders() const;
    /// Adds a folder (a path or a file URL) to the excluded folders; "/" and relative paths
    /// are ignored.
    Q_INVOKABLE void addExcludedFolder(const QString& folder);
    Q_INVOKABLE void removeExcludedFolder(const QString& folder);

    /// How often the shown tree is caught up while the window is shown.
    static constexpr std::chrono::seconds liveCatchUpInterval{60};
    /// A scan's previews and live refreshes have their file kinds worked out at most this often.
    static constexpr std::chrono::seconds kindsSpacing{2};
    /// While the window is shown, the tree follows the disk: the focused folder's subtree is
    /// watched and the whole tree caught up every `liveCatchUpInterval`.
    Q_INVOKABLE void setWindowShown(bool shown);
    /// Catches the shown tree up now, quietly; what the interval runs.
    void catchUpLiveTree();
    const TreeWatch& treeWatch() const { return *treeWatch_; }

    /// Removes every stored snapshot, so each target is scanned afresh, and says how much
    /// that freed.
    Q_INVOKABLE QString clearStoredScans();

    /// The History pane's figures: used and total space per day, what grew over the last 7
    /// and 30 days, and the forecast in words.
    QVariantList usageHistory() const;
    QVariantList weekGrowth() const;
    QVariantList monthGrowth() const;
    QString forecastText() const;
    /// Replaces the notice; an equal notice changes nothing.
    void setNotice(std::optional<Notice> notice);
    /// Shows `text` as a warning: what the window could not do (an empty text: nothing).
    Q_INVOKABLE void showWarning(const QString& text) {
        if (!text.isEmpty()) setNotice(Notice::make(text, true));
    }
    /// Waits for every background task; for tests and shutdown.
    void waitForBackgroundWork();

    /// Adds one item to the Cleanup List, or says in the notice why not.
    void stage(const std::string& path, std::uint64_t bytes, const QString& name);
    /// Adds a dropped item: the tree's node when it is one, else measured on disk.
    Q_INVOKABLE void stage(const QString& path);
    Q_INVOKABLE void toggleStaged(int node);
    Q_INVOKABLE void unstage(const QString& id);
    /// 0 none, 1 listed, 2 inside a listed item.
    Q_INVOKABLE int stageState(int node) const;
    Q_INVOKABLE bool isStaged(const QString& path) const {
        return lowTide_.isStaged(path.toStdString());
    }
    /// Adds every ticked suggestion, in order, and says how many and how much were ticked.
    Q_INVOKABLE void sendCheckedToLowTide();
    /// Ticks or unticks a suggestion; paths that are no finding are ignored.
    Q_INVOKABLE void setChecked(const QString& path, bool checked);
    Q_INVOKABLE bool isChecked(const QString& path) const {
        return shorelineChecked_.contains(path);
    }
    /// Where a path stands against the Cleanup List: 0 none, 1 listed, 2 inside a listed item.
    Q_INVOKABLE int pathStageState(const QString& path) const {
        return int(lowTide_.stageState(path.toStdString()));
    }
    /// The live node of the tree at `path`, or −1; for the menus of rows that carry a path.
    Q_INVOKABLE int nodeOf(const QString& path) const;
    /// The suggestions as the pane shows them: each category with its figures and findings.
    QVariantList shorelineRows() const;
    /// Bytes of every finding of every category.
    std::uint64_t shorelineTotal() const;
    double shorelineTotalValue() const { return double(shorelineTotal()); }
    int checkedCount() const;
    /// Bytes of the ticked findings.
    std::uint64_t checkedBytes() const;
    double checkedBytesValue() const { return double(checkedBytes()); }
    int historyDays() const { return int(history_.size()); }
    /// Removal runs in the background; `removalFinished` brings `trashResult`.
    Q_INVOKABLE void moveToTrash();
    Q_INVOKABLE void deleteImmediately();
    const CleanupList& cleanupList() const { return lowTide_; }
    const std::optional<TrashResult>& lastTrashResult() const { return lastResult_; }
    QVariantList lowTideRows() const;
    double stagedBytesValue() const { return double(lowTide_.stagedBytes()); }
    QVariantMap trashResultMap() const;
    double erasingBytes() const { return double(erasingBytes_); }
    double trashBytes() const { return double(trashBytes_); }
    /// Re-reads what this application put in the Trash.
    Q_INVOKABLE void refreshTrashLedger();
    /// Deletes at once what this application moved to the Trash and is still there.
    Q_INVOKABLE void deleteClearedTrashNow();
    const brantle::TrashLedger::State& trashLedger() const { return trashLedger_; }
    /// What the views show of the ledger: entries, waitingBytes, freedBytes.
    QVariantMap trashLedgerMap() const;
    /// Counts `bytes` as being erased until the eraser is idle, then refreshes the volumes.
    void finishErasing(std::uint64_t bytes, const std::set<std::string>& settlingTrashed);

    /// The focus's space by file kind, largest first, kinds it lacks left out: kind, name,
    /// bytes, size and share of the files' bytes. While a new tree's kinds are worked out,
    /// the previous tree's figures for the same path; empty when there are none.
    QVariantList kindRows() const;
    /// The kinds of the tree shown, once worked out in the background; else none.
    const brantle::TreeKinds* treeKinds() const;
    /// The ring's slices take their file kind's colour instead of their branch's.
    bool colourByKind() const { return colourByKind_; }
    void setColourByKind(bool on);

    std::vector<brantle::NodeId> breadcrumbs() const { return view_.breadcrumbs(); }
    std::vector<brantle::NodeId> listItems() const { return view_.listItems(); }
    std::uint64_t size(const Kind& kind) const { return view_.size(kind); }
    QString label(const Kind& kind) const { return view_.label(kind, targetTitle()); }
    /// "Name — size" of a slice, for the pointer's caption.
    QString sliceText(const Kind& kind) const;
    /// The node a click on a slice focuses, or −1.
    int folderOf(const Kind& kind) const;
    /// Fraction shown by the centre gauge: scan progress, the volume's fullness or the
    /// focus's share of the root.
    double fullness() const;

    Section section() const { return section_; }
    Phase phase() const { return phase_; }
    ShorelinePhase shorelinePhase() const { return shorelinePhase_; }
    const ScanTarget& target() const { return target_; }
    brantle::NodeId focus() const { return view_.focus(); }
    int focusIndex() const { return static_cast<int>(view_.focus()); }
    int layoutID() const { return view_.layoutID(); }
    int revision() const { return revision_; }
    bool hasFullDiskAccess() const { return hasFullDiskAccess_; }
    /// True while the tree shown came from an administrator scan.
    bool adminScan() const { return adminScan_; }
    const std::optional<brantle::ScanProgress>& progress() const { return progress_; }
    const std::optional<brantle::VolumeInfo>& volume() const { return volume_; }
    const std::optional<brantle::VolumeInfo>& startupVolume() const { return startupVolume_; }
    const std::optional<Notice>& notice() const { return notice_; }
    const std::vector<ringkit::RingSegment>& segments() const { return view_.segments(); }
    const std::vector<brantle::TideSummary>& history() const { return history_; }
    const std::vector<shoreline::ShorelineCategory>& shoreline() const { return shoreline_; }
    /// Paths ticked in the suggestions; the safe findings start ticked.
    const QSet<QString>& shorelineChecked() const { return shorelineChecked_; }
    const std::shared_ptr<const brantle::FileTree>& tree() const { return view_.tree(); }

    QString targetTitle() const {
        return openedTitle_ ? *openedTitle_ : QString::fromStdString(target_.title());
    }
    ScanTarget::Kind targetKind() const { return target_.kind; }
    QString noticeText() const { return notice_ ? notice_->text : QString(); }
    bool noticeIsWarning() const { return notice_ && notice_->isWarning; }
    QVariantMap progressMap() const;
    QVariantList breadcrumbItems() const;
    QVariantList itemRows() const;
    QVariantMap storage() const;

signals:
    void sectionChanged();
    void phaseChanged();
    void shorelinePhaseChanged();
    void focusChanged();
    void layoutIDChanged();
    void revisionChanged();
    void hasFullDiskAccessChanged();
    void targetChanged();
    void noticeChanged();
    void progressChanged();
    void fullnessChanged();
    void volumeChanged();
    void historyChanged();
    void shorelineChanged();
    void shorelineCheckedChanged();
    void adminScanChanged();
    void showMenuBarChanged();
    void openAtLoginChanged();
    void excludedFoldersChanged();
    /// Something asks for the main window to be shown and raised.
    void windowRequested();

    void lowTideChanged();
    void removalFinished();
    void erasingBytesChanged();
    void trashBytesChanged();
    void trashLedgerChanged();
    void kindsChanged();
    void colourByKindChanged();

private:
    friend class SpaceWatch; // keeps the startup volume and the history fresh
    void stageNode(brantle::NodeId node);
    void runRemoval(bool permanent);
    void finishRemoval(const RemovalOutcome& outcome);
    /// Takes removed items out of the list and the tree, keeps the focus on a live folder and
    /// lays the ring out again.
    void removeFromView(const std::vector<std::string>& paths);
    void setTrashLedger(brantle::TrashLedger::State state);
    /// The volume of the target and the startup volume read afresh, so free space catches up.
    void refreshVolumes();
    void fullScan(const ScanTarget& target);
    /// Drops the running administrator scan, whose results no longer count, and marks the
    /// tree as not an administrator scan.
    void leaveAdministratorScan();
    /// After a failed administrator scan: `notice`, then the startup disk's regular scan.
    void fallBackFromAdministratorScan(Notice notice);
    void requireMainThread() const;
    void setPhase(Phase phase);
    void setShorelinePhase(ShorelinePhase phase);
    void installShoreline(std::vector<shoreline::ShorelineCategory> categories);
    void setTarget(const ScanTarget& target);
    void setProgress(std::optional<brantle::ScanProgress> progress);
    void setVolumeFor(const std::string& rootPath);
    /// Makes `tree` the shown tree of `target`, keeping the focus by path; no relayout yet.
    void installTree(std::shared_ptr<const brantle::FileTree> tree, const ScanTarget& target);
    void bumpRevision();
    void installOpenedScan(std::shared_ptr<const brantle::FileTree> tree, QString title);
    /// Back to the scan targets of this computer; the caller installs or scans one. A file
    /// still being read is dropped only when the user chose a target (`openRequest_`), not
    /// when a scan the model started itself takes over.
    void leaveOpenedScan();
    /// Says in the notice how many folders of the new tree could not be read.
    void noteUnreadableFolders();
    /// Runs what the pane shown needs of a new tree.
    void serveSection();
    /// Works out the kinds of the tree shown in the background, unless they are known or
    /// under way; `kindsChanged` follows.
    void classifyKinds(JobPacer::Pace pace);
    void startKinds();
    /// The node of the tree the kinds were worked out for that stands for `shown`: itself
    /// when they are the shown tree's, else the node at its path in the earlier tree.
    std::optional<brantle::NodeId> kindsNode(brantle::NodeId shown) const;
    /// `finish` without serving the pane.
    void showFinished(std::shared_ptr<const brantle::FileTree> tree, const ScanTarget& target);
    /// A tree that may follow the disk: one of this computer, shown and ready.
    bool followsDisk() const;
    void connectLiveTree();
    /// Watches the focused folder's subtree while the window is shown, else nothing.
    void followFocus();
    /// Reads the folders the watch named again, once no refresh runs.
    void refreshChangedFolders();
    void installRefreshed(const std::shared_ptr<const brantle::FileTree>& from,
                          std::shared_ptr<const brantle::FileTree> tree, const ScanTarget& target);

    Section section_ = Section::Explorer;
    Phase phase_ = Phase::Idle;
    ShorelinePhase shorelinePhase_ = ShorelinePhase::Idle;
    ScanTarget target_ = ScanTarget::startupDisk();
    int revision_ = 0;
    bool hasFullDiskAccess_ = true;
    std::optional<brantle::ScanProgress> progress_;
    std::int64_t expectedCount_ = 0;
    std::optional<brantle::VolumeInfo> volume_;
    std::optional<brantle::VolumeInfo> startupVolume_;
    std::optional<Notice> notice_;
    QUuid unreadableNotice_; ///< the notice that counts unreadable folders, while shown
    std::vector<brantle::TideSummary> history_;
    std::vector<shoreline::ShorelineCategory> shoreline_;
    QSet<QString> shorelineChecked_;
    brantle::FullDiskAccess::OpenFunction accessProbeOpen_ = brantle::FullDiskAccess::tryOpen;
    /// The trees the suggestions and the history last ran on.
    std::weak_ptr<const brantle::FileTree> analyzedTree_;
    std::weak_ptr<const brantle::FileTree> recordedTree_;
    /// The file kinds of `kindsTree_` (kept until the next tree's kinds replace them), and
    /// the tree they are last asked for.
    std::shared_ptr<const brantle::TreeKinds> kinds_;
    std::shared_ptr<const brantle::FileTree> kindsTree_;
    std::weak_ptr<const brantle::FileTree> kindsAsked_;
    JobPacer* kindsPacer_ = nullptr; ///< a child
    bool refreshing_ = false;        ///< installing a tree the live watch refreshed
    bool colourByKind_ = Settings::colourByKind();

    ViewState view_;
    CleanupList lowTide_{
        [](const std::string& path) { return brantle::DeletionGuard::live().check(path); }};
    std::optional<TrashResult> lastResult_;
    brantle::TrashLedger::State trashLedger_;
    std::uint64_t erasingBytes_ = 0;
    std::uint64_t trashBytes_ = 0;
    /// The focus's path when a full scan dropped the tree, so the rescan can keep it.
    std::optional<std::pair<ScanTarget, std::string>> droppedFocus_;
    ScanSession session_;
    bool adminScan_ = false;
    /// The header of the scan opened from a file, while one is shown.
    std::optional<QString> openedTitle_;
    int openRequest_ = 0; ///< the latest openScan; an older one's result is dropped
    helperkit::AdminHelper::Launch helperLaunch_ = helperkit::AdminHelper::Launch::installed();
    AdministratorScan* adminClient_ = nullptr; ///< the running administrator scan, a child
    SpaceWatch* watch_ = nullptr;              ///< a child
    ScanComparison* comparison_ = nullptr;     ///< a child
    SearchResults* search_ = nullptr;          ///< a child
    TreeWatch* treeWatch_ = nullptr;           ///< a child
    QTimer* liveCatchUp_ = nullptr;            ///< a child
    bool windowShown_ = false;
    std::set<std::string> changedFolders_; ///< named by the watch, not yet read again
};

} // namespace ambrel

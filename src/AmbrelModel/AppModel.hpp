#pragma once

#include "AmbrelModel/Notice.hpp"
#include "AmbrelModel/ScanTarget.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleServices/FullDiskAccess.hpp"
#include "BrantleServices/TideSummary.hpp"
#include "BrantleServices/VolumeInfo.hpp"
#include "RingKit/RingLayout.hpp"
#include "RingKit/RingMorph.hpp"
#include "RingKit/RingSegment.hpp"
#include "Shoreline/ShorelineCategory.hpp"

#include <QObject>
#include <QSet>
#include <QThreadPool>
#include <QVariantList>
#include <QVariantMap>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace ambrel {

/// The application's one model: the scan target and its tree, the ring's focus and layout,
/// the notice line. Lives on the main thread; every change made from another thread is fatal.
/// Scans and snapshot work run on its own thread pool and come back as queued calls.
class AppModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(Section section READ section WRITE show NOTIFY sectionChanged)
    Q_PROPERTY(Phase phase READ phase NOTIFY phaseChanged)
    Q_PROPERTY(ShorelinePhase shorelinePhase READ shorelinePhase NOTIFY shorelinePhaseChanged)
    Q_PROPERTY(int focus READ focusIndex NOTIFY focusChanged)
    Q_PROPERTY(int layoutID READ layoutID NOTIFY layoutIDChanged)
    Q_PROPERTY(int revision READ revision NOTIFY revisionChanged)
    Q_PROPERTY(bool hasFullDiskAccess READ hasFullDiskAccess NOTIFY hasFullDiskAccessChanged)
    Q_PROPERTY(QString targetTitle READ targetTitle NOTIFY targetChanged)
    Q_PROPERTY(int targetKind READ targetKind NOTIFY targetChanged)
    Q_PROPERTY(QString noticeText READ noticeText NOTIFY noticeChanged)
    Q_PROPERTY(bool noticeIsWarning READ noticeIsWarning NOTIFY noticeChanged)
    Q_PROPERTY(QVariantMap progress READ progressMap NOTIFY progressChanged)
    Q_PROPERTY(double fullness READ fullness NOTIFY fullnessChanged)
    Q_PROPERTY(QVariantList breadcrumbItems READ breadcrumbItems NOTIFY layoutIDChanged)
    Q_PROPERTY(QVariantList items READ itemRows NOTIFY layoutIDChanged)
    Q_PROPERTY(QVariantMap storage READ storage NOTIFY volumeChanged)

public:
    enum class Phase { idle, scanning, updating, ready };
    Q_ENUM(Phase)
    enum class Section { explorer, shoreline, history };
    Q_ENUM(Section)
    enum class ShorelinePhase { idle, analyzing, ready, unavailable };
    Q_ENUM(ShorelinePhase)
    using Kind = ringkit::RingSegment::Kind;

    static constexpr int maxDepth = 5;
    /// Rows the item list shows at most; the rest of a huge folder is summed in the ring.
    static constexpr int maxListRows = 1000;
    /// How long a load waits for the change history before it scans afresh.
    static constexpr std::chrono::seconds catchUpTimeout{20};

    explicit AppModel(QObject* parent = nullptr);
    ~AppModel() override;

    /// Called once at launch: resumes the deletions an earlier run left pending, then loads
    /// the snapshot of `target` (by default the target shown when the program last ran),
    /// else scans it.
    void start(std::optional<ScanTarget> target = std::nullopt);
    /// Shows `target` from its stored snapshot brought up to date, else (unless `quiet`)
    /// scans it afresh. A quiet load leaves the phase and the tree as they are on failure.
    void load(const ScanTarget& target, bool quiet);
    /// "Scan again from scratch": a full scan of the current target.
    Q_INVOKABLE void scanAgain();
    /// Switches to a target chosen in the toolbar and scans it from scratch.
    void scanTarget(const ScanTarget& target);
    Q_INVOKABLE void showStartupDisk() { load(ScanTarget::startupDisk(), false); }
    Q_INVOKABLE void showHome() { load(ScanTarget::home(), false); }
    Q_INVOKABLE void chooseFolder(const QString& path);
    /// Installs a finished tree for `target`, keeping the focused folder by path.
    void finish(std::shared_ptr<brantle::FileTree> tree, const ScanTarget& target);
    /// Shows a stored tree while it is brought up to date; the phase stays `updating` and
    /// `finish` follows with the tree caught up.
    void preview(std::shared_ptr<brantle::FileTree> tree, const ScanTarget& target);
    /// Rebuilds the ring's segments for the current tree and focus.
    void relayout();
    /// Centres the ring on `node`; nothing when it is the focus already or there is no tree.
    Q_INVOKABLE void focusOn(int node);
    /// Centres the ring on the focus's parent; nothing at the root.
    Q_INVOKABLE void goUp();
    /// Probes Full Disk Access again; when it has just been granted, says so and rescans the
    /// shown target to take in the folders that were hidden.
    Q_INVOKABLE void refreshFullDiskAccess();
    /// Runs the suggestions on the current tree; a result for an older tree is dropped.
    void analyzeShoreline();
    /// Replaces the open call of the Full Disk Access probe (the real one by default).
    void setAccessProbeOpen(brantle::FullDiskAccess::OpenFunction open);
    /// Selects the pane shown.
    void show(Section section);
    /// Saves today's usage summary when the tree covers the home folder, and reloads the
    /// history.
    void recordHistory();
    /// Replaces the notice; an equal notice changes nothing.
    void setNotice(std::optional<Notice> notice);
    /// Waits for every background task; for tests and shutdown.
    void waitForBackgroundWork();

    /// Node ids from the root to the focus, root first.
    std::vector<brantle::NodeId> breadcrumbs() const;
    /// The focus's children, largest first.
    std::vector<brantle::NodeId> listItems() const;
    /// Bytes of a slice kind.
    std::uint64_t size(const Kind& kind) const;
    /// Display text of a slice kind.
    QString label(const Kind& kind) const;
    /// Fraction shown by the centre gauge: scan progress, the volume's fullness or the
    /// focus's share of the root.
    double fullness() const;

    Section section() const { return section_; }
    Phase phase() const { return phase_; }
    ShorelinePhase shorelinePhase() const { return shorelinePhase_; }
    const ScanTarget& target() const { return target_; }
    brantle::NodeId focus() const { return focus_; }
    int focusIndex() const { return static_cast<int>(focus_); }
    int layoutID() const { return layoutID_; }
    int revision() const { return revision_; }
    bool hasFullDiskAccess() const { return hasFullDiskAccess_; }
    const std::optional<brantle::ScanProgress>& progress() const { return progress_; }
    const std::optional<brantle::VolumeInfo>& volume() const { return volume_; }
    const std::optional<brantle::VolumeInfo>& startupVolume() const { return startupVolume_; }
    const std::optional<Notice>& notice() const { return notice_; }
    const std::vector<ringkit::RingSegment>& segments() const { return segments_; }
    const std::vector<ringkit::RingSegment>& previousSegments() const { return previousSegments_; }
    const std::vector<brantle::TideSummary>& history() const { return history_; }
    const std::vector<shoreline::ShorelineCategory>& shoreline() const { return shoreline_; }
    /// Paths ticked in the suggestions; the safe findings start ticked.
    const QSet<QString>& shorelineChecked() const { return shorelineChecked_; }
    bool adminScan() const { return adminScan_; }
    std::shared_ptr<const brantle::FileTree> tree() const { return tree_; }
    /// The parent look-up of the current tree, for the ring's morph.
    ringkit::RingMorph::ParentLookup parentLookup() const;
    /// The target shown last time, kept across launches; the startup disk at first launch or
    /// when the chosen folder is gone.
    static ScanTarget lastTarget();
    /// The expected node count stored for a root path (0 when never stored).
    static std::int64_t storedItemCount(const std::string& rootPath);

    QString targetTitle() const { return QString::fromStdString(target_.title()); }
    int targetKind() const { return static_cast<int>(target_.kind); }
    QString noticeText() const { return notice_ ? notice_->text : QString(); }
    bool noticeIsWarning() const { return notice_ && notice_->isWarning; }
    QVariantMap progressMap() const;
    QVariantList breadcrumbItems() const;
    QVariantList itemRows() const;
    QVariantMap storage() const;
    /// The node a click on slice `index` of `segments()` focuses, or −1.
    Q_INVOKABLE int folderAtSegment(int index) const;
    /// "Name — size" of slice `index`, for the pointer's caption.
    Q_INVOKABLE QString segmentText(int index) const;

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

private:
    void fullScan(const ScanTarget& target);
    void requireMainThread() const;
    void setPhase(Phase phase);
    void setShorelinePhase(ShorelinePhase phase);
    void installShoreline(std::vector<shoreline::ShorelineCategory> categories);
    /// Posts `call` to the main thread, where it runs only if session `session` is current.
    void whenCurrent(int session, std::function<void()> call);
    void setTarget(const ScanTarget& target);
    void setFocus(brantle::NodeId focus);
    void setProgress(std::optional<brantle::ScanProgress> progress);
    void setVolumeFor(const std::string& rootPath);
    std::shared_ptr<brantle::DiskScanner> makeScanner(const std::string& rootPath);
    brantle::NodeId keptFocus(const brantle::FileTree& tree, const ScanTarget& target) const;
    /// Makes `tree` the shown tree of `target`, keeping the focus by path; no relayout yet.
    void installTree(std::shared_ptr<brantle::FileTree> tree, const ScanTarget& target);
    void bumpRevision();
    std::vector<ringkit::RingExtra> extras() const;
    /// Runs `work` on the pool; results come back through queued calls tagged with the
    /// session, so that a superseded scan cannot install its tree.
    void runInBackground(std::function<void()> work);

    Section section_ = Section::explorer;
    Phase phase_ = Phase::idle;
    ShorelinePhase shorelinePhase_ = ShorelinePhase::idle;
    ScanTarget target_ = ScanTarget::startupDisk();
    brantle::NodeId focus_ = 0;
    int layoutID_ = 0;
    int revision_ = 0;
    bool hasFullDiskAccess_ = true;
    bool adminScan_ = false;
    std::optional<brantle::ScanProgress> progress_;
    std::int64_t expectedCount_ = 0;
    std::optional<brantle::VolumeInfo> volume_;
    std::optional<brantle::VolumeInfo> startupVolume_;
    std::optional<Notice> notice_;
    std::vector<ringkit::RingSegment> segments_;
    std::vector<ringkit::RingSegment> previousSegments_;
    std::vector<brantle::TideSummary> history_;
    std::vector<shoreline::ShorelineCategory> shoreline_;
    QSet<QString> shorelineChecked_;
    brantle::FullDiskAccess::OpenFunction accessProbeOpen_ = brantle::FullDiskAccess::tryOpen;

    std::shared_ptr<brantle::FileTree> tree_;
    /// The focus's path when a full scan dropped the tree, so the rescan can keep it.
    std::optional<std::pair<ScanTarget, std::string>> droppedFocus_;
    std::shared_ptr<brantle::DiskScanner> scanner_;
    /// Bumped by every scan or load; results of an older session are dropped.
    int session_ = 0;
    QThreadPool pool_;
};

} // namespace ambrel

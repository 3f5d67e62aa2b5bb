#pragma once

#include "AmbrelModel/ScanTarget.hpp"
#include "BrantleCore/CatchUp.hpp"
#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/DiskScanner.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/Snapshot.hpp"

#include <QObject>
#include <QThreadPool>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ambrel {

/// Gets trees for the model: loads a target's stored snapshot and brings it up to date, or
/// scans it afresh, and stores what it got. Each load or scan starts a new session; results
/// of an older one are dropped, so a superseded scan cannot install its tree. Work runs on
/// background threads, results come back as signals on the thread the session lives on.
class ScanSession : public QObject {
    Q_OBJECT

public:
    /// How long a load waits for the change history before it asks for a full scan.
    static constexpr std::chrono::seconds catchUpTimeout{20};

    explicit ScanSession(QObject* parent = nullptr);
    ~ScanSession() override;

    /// Shows `target` from its stored snapshot: `previewed` with the stored tree (not when
    /// `quiet`), then `finished` with it brought up to date, stored again when anything was
    /// read again. Without a usable snapshot or change history, `scanNeeded` (not when `quiet`).
    void load(const ScanTarget& target, bool quiet);
    /// Scans `target` afresh, `expectedCount` nodes expected: `progressed` while it runs,
    /// then `finished`; the tree is stored and its node count kept for the next scan.
    void fullScan(const ScanTarget& target, std::int64_t expectedCount);
    /// Brings the shown tree of `target` up to date without loading or scanning it: reads
    /// `folders` again, or with none catches the whole tree up since it was last current.
    /// `refreshed` follows either way, with the tree or, when nothing changed or it could not
    /// be done, null; a whole catch-up that read anything is stored. False (and no signal)
    /// while a refresh runs, or for a whole catch-up of a tree this session did not produce.
    bool refresh(const ScanTarget& target, const std::shared_ptr<const brantle::FileTree>& shown,
                 std::vector<std::string> folders);
    bool refreshing() const { return refreshing_; }
    /// Stops the running scan; nothing of it arrives any more.
    void cancel();
    /// Cancels the running work and drops whatever it would still report.
    void stop();
    /// Runs `work` below the window's priority, beside the scans.
    void runInBackground(std::function<void()> work);
    /// Waits for every background task; for tests and shutdown.
    void waitForDone();

signals:
    void previewed(std::shared_ptr<const brantle::FileTree> tree, const ScanTarget& target);
    void finished(std::shared_ptr<const brantle::FileTree> tree, const ScanTarget& target);
    void progressed(const brantle::ScanProgress& progress);
    void scanNeeded(const ScanTarget& target);
    /// A tree of `target` was stored, so its previous snapshot was replaced.
    void stored(const ScanTarget& target);
    void refreshed(std::shared_ptr<const brantle::FileTree> from,
                   std::shared_ptr<const brantle::FileTree> tree, const ScanTarget& target);

private:
    /// Cancels the running scan and returns the token of a new session scanning `rootPath`.
    int begin(const std::string& rootPath);
    /// Posts `call` to the session's thread, where it runs only if `session` is current.
    void whenCurrent(int session, std::function<void()> call);
    /// Stores a finished scan's item count from the session's thread, which alone touches the
    /// settings; a superseded scan's count is worth keeping too.
    void rememberItemCount(const std::string& rootPath, std::size_t count);
    /// Brings a loaded snapshot up to date; runs in the background.
    void catchUp(const ScanTarget& target, bool quiet, int session, brantle::DiskScanner& scanner,
                 brantle::Snapshot::Contents loaded,
                 const std::shared_ptr<const brantle::FileTree>& shown);

    /// Reads the refresh's folders, or catches the whole tree up; on a background thread.
    static std::optional<brantle::CatchUpResult>
    catchUpShown(brantle::DiskScanner& scanner, const brantle::FileTree& shown,
                 std::vector<std::string> folders,
                 std::optional<brantle::ChangeHistory::EventID> since);

    std::shared_ptr<brantle::DiskScanner> scanner_;
    int session_ = 0;
    /// The change-history id at which the last tree this session produced was current.
    std::optional<brantle::ChangeHistory::EventID> shownSince_;
    bool refreshing_ = false;
    /// At the window's priority: the snapshot decode the first ring waits for.
    QThreadPool windowPool_;
    /// Below it: scans, catch-ups, saves and analyses. Its threads stay lowered, since raising
    /// a thread's priority again needs privilege.
    QThreadPool backgroundPool_;
};

} // namespace ambrel

#include "AmbrelModel/ScanSession.hpp"

#include "AmbrelModel/OrderedStart.hpp"

#include "AmbrelModel/Settings.hpp"
#include "AmbrelModel/StoredSnapshot.hpp"
#include "BrantleCore/CatchUp.hpp"
#include "BrantleCore/ChangeHistory.hpp"
#include "BrantleCore/ScanOptions.hpp"

#include <QThread>

#if defined(__APPLE__)
#include <pthread/qos.h>
#endif

#include <algorithm>
#include <atomic>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace ambrel {

namespace {

/// Scans, catch-ups and analyses yield to the window's threads, so that a launch draws its
/// first frames while the stored tree is caught up and the window stays smooth while a scan
/// runs. Threads started from here (scan workers) inherit it.
void lowerThisThread() {
#if defined(__APPLE__)
    pthread_set_qos_class_self_np(QOS_CLASS_USER_INITIATED, 0);
#elif defined(__linux__)
    constexpr int backgroundNice = 5;
    // Per thread on Linux; raising one's own nice needs no privilege. A failure only costs
    // smoothness.
    (void)setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), backgroundNice);
#endif
}

/// Reads the settings: main thread only.
std::shared_ptr<brantle::DiskScanner> makeScanner(const std::string& rootPath) {
    const int workers = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    auto options = brantle::ScanOptions::forVolume(rootPath);
    options.excludedPaths.merge(Settings::excludedPaths());
    return std::make_shared<brantle::DiskScanner>(std::move(options), workers,
                                                  std::chrono::milliseconds(100));
}

} // namespace

ScanSession::ScanSession(QObject* parent) : QObject(parent) {
    // A scan, a snapshot save and an analysis may all be under way at once.
    backgroundPool_.setMaxThreadCount(std::max(4, QThread::idealThreadCount()));
}

ScanSession::~ScanSession() {
    cancel();
    waitForDone();
}

void ScanSession::cancel() {
    if (scanner_) scanner_->cancel();
}

void ScanSession::stop() {
    cancel();
    ++session_; // what the stopped session still has queued is dropped
}

void ScanSession::waitForDone() {
    windowPool_.waitForDone(); // first: a decode hands its catch-up to the other pool
    backgroundPool_.waitForDone();
}

void ScanSession::runInBackground(std::function<void()> work) {
    startOrdered(backgroundPool_, [work = std::move(work)] {
        lowerThisThread();
        work();
    });
}

int ScanSession::begin(const std::string& rootPath) {
    cancel();
    scanner_ = makeScanner(rootPath);
    return ++session_;
}

void ScanSession::whenCurrent(int session, std::function<void()> call) {
    QMetaObject::invokeMethod(
        this,
        [this, session, call = std::move(call)] {
            if (session == session_) call();
        },
        Qt::QueuedConnection);
}

void ScanSession::rememberItemCount(const std::string& rootPath, std::size_t count) {
    QMetaObject::invokeMethod(
        this,
        [rootPath, count] { Settings::setItemCount(rootPath, static_cast<std::int64_t>(count)); },
        Qt::QueuedConnection);
}

void ScanSession::load(const ScanTarget& target, bool quiet) {
    const auto rootPath = target.rootPath();
    const int session = begin(rootPath);
    shownSince_.reset();
    // The first ring waits for this decode, so it runs at the window's own priority.
    startOrdered(windowPool_, [this, target, rootPath, quiet, session, scanner = scanner_] {
        auto loaded = StoredSnapshot::load(rootPath);
        if (!loaded) {
            if (!quiet) whenCurrent(session, [this, target] { emit scanNeeded(target); });
            return;
        }
        std::shared_ptr<const brantle::FileTree> shown;
        if (!quiet) {
            // The window reads this copy while the catch-up changes the original.
            shown = std::make_shared<const brantle::FileTree>(loaded->tree.compacted());
            whenCurrent(session, [this, target, shown] { emit previewed(shown, target); });
        }
        auto contents = std::make_shared<brantle::Snapshot::Contents>(std::move(*loaded));
        runInBackground([this, target, quiet, session, scanner, contents, shown] {
            catchUp(target, quiet, session, *scanner, std::move(*contents), shown);
        });
    });
}

void ScanSession::catchUp(const ScanTarget& target, bool quiet, int session,
                          brantle::DiskScanner& scanner, brantle::Snapshot::Contents loaded,
                          const std::shared_ptr<const brantle::FileTree>& shown) {
    auto caughtUp = brantle::catchUpChanges(scanner, std::move(loaded), catchUpTimeout);
    if (!caughtUp) {
        if (!quiet) whenCurrent(session, [this, target] { emit scanNeeded(target); });
        return;
    }
    if (scanner.isCancelled()) return;
    const auto since = caughtUp->meta.fsEventID;
    if (caughtUp->reread == 0 && shown) {
        // Untouched: the shown tree stays, and the stored event id still holds (the next
        // catch-up merely looks back a little further), so nothing is stored.
        whenCurrent(session, [this, target, shown, since] {
            shownSince_ = since;
            emit finished(shown, target);
        });
        return;
    }
    // Shown and stored as it is: the window and the encoder only read it.
    auto tree = std::make_shared<const brantle::FileTree>(std::move(caughtUp->tree));
    whenCurrent(session, [this, target, tree, since] {
        shownSince_ = since;
        emit finished(tree, target);
    });
    if (caughtUp->reread == 0) return;
    StoredSnapshot::save(*tree, caughtUp->meta.fsEventID);
    whenCurrent(session, [this, target] { emit stored(target); });
    rememberItemCount(tree->rootPath(), tree->count());
}

void ScanSession::fullScan(const ScanTarget& target, std::int64_t expectedCount) {
    const auto rootPath = target.rootPath();
    const int session = begin(rootPath);
    shownSince_.reset();
    runInBackground([this, target, rootPath, session, expectedCount, scanner = scanner_] {
        auto report = [this, session](const brantle::ScanProgress& progress) {
            whenCurrent(session, [this, progress] { emit progressed(progress); });
        };
        // The ring fills in while the scan runs; a preview still queued when a newer one is
        // made is dropped unseen.
        auto previews = std::make_shared<std::atomic<int>>(0);
        auto preview = [this, session, target, previews](brantle::FileTree top) {
            auto shown = std::make_shared<const brantle::FileTree>(std::move(top));
            const int number = ++*previews;
            whenCurrent(session, [this, shown, target, previews, number] {
                if (number == *previews) emit previewed(shown, target);
            });
        };
        const auto eventID = brantle::ChangeHistory::currentEventID();
        auto tree = std::make_shared<const brantle::FileTree>(
            scanner->scan(rootPath, expectedCount, report, preview));
        if (scanner->isCancelled()) return;
        whenCurrent(session, [this, tree, target, eventID] {
            shownSince_ = eventID;
            emit finished(tree, target);
        });
        StoredSnapshot::save(*tree, eventID);
        whenCurrent(session, [this, target] { emit stored(target); });
        rememberItemCount(rootPath, tree->count());
    });
}

bool ScanSession::refresh(const ScanTarget& target,
                          const std::shared_ptr<const brantle::FileTree>& shown,
                          std::vector<std::string> folders) {
    const bool whole = folders.empty();
    if (refreshing_ || !shown || (whole && !shownSince_)) return false;
    refreshing_ = true;
    const int session = begin(target.rootPath());
    runInBackground([this, target, shown, whole, session, since = shownSince_,
                     folders = std::move(folders), scanner = scanner_]() mutable {
        auto caughtUp = catchUpShown(*scanner, *shown, std::move(folders), since);
        std::shared_ptr<const brantle::FileTree> tree;
        std::optional<brantle::ChangeHistory::EventID> caughtUpAt;
        // Only a whole catch-up knows every change up to its event id.
        if (caughtUp && whole) caughtUpAt = caughtUp->meta.fsEventID;
        if (caughtUp && caughtUp->reread > 0)
            tree = std::make_shared<const brantle::FileTree>(std::move(caughtUp->tree));
        QMetaObject::invokeMethod(
            this,
            [this, target, shown, tree, session, caughtUpAt] {
                refreshing_ = false;
                const bool current = session == session_;
                if (current && caughtUpAt) shownSince_ = caughtUpAt;
                emit refreshed(shown, current ? tree : nullptr, target);
            },
            Qt::QueuedConnection);
        if (!caughtUpAt || !tree) return;
        StoredSnapshot::save(*tree, *caughtUpAt);
        rememberItemCount(tree->rootPath(), tree->count());
    });
    return true;
}

std::optional<brantle::CatchUpResult>
ScanSession::catchUpShown(brantle::DiskScanner& scanner, const brantle::FileTree& shown,
                          std::vector<std::string> folders,
                          std::optional<brantle::ChangeHistory::EventID> since) {
    brantle::Snapshot::Contents contents{shown.compacted(),
                                         {shown.rootPath(), 0, since.value_or(0)}};
    if (folders.empty())
        return brantle::catchUpChanges(scanner, std::move(contents), catchUpTimeout);
    scanner.begin();
    const std::size_t reread = scanner.rescan(contents.tree, std::move(folders));
    if (scanner.isCancelled()) return std::nullopt;
    return brantle::CatchUpResult{brantle::FileTree::compact(std::move(contents.tree)),
                                  std::move(contents.meta), brantle::CatchUpResult::Mode::catchUp,
                                  reread};
}

} // namespace ambrel

#pragma once

#include "BrantleCore/DirEntry.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/ScanOptions.hpp"
#include "BrantleCore/ScanProgress.hpp"
#include "BrantleCore/ScanSink.hpp"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace brantle {

class DirectoryReader;

/// Walks a folder or volume with a fixed number of worker threads sharing one
/// last-in-first-out stack of folders, one lock and one condition variable. Folders are read
/// and their entries judged outside the lock; each listing is then handed whole to a sink
/// under it: the in-memory tree or any other `ScanSink`.
///
/// Sizes are allocated bytes. Where folders' own blocks count (Linux), a folder's own size
/// comes from its entry in its parent's listing, or from its descriptor for the root and for
/// a folder read again; a folder on another device, which is not entered, counts nothing.
class DiskScanner {
public:
    using ProgressCallback = std::function<void(const ScanProgress&)>;
    /// Receives the top levels of the tree read so far, sizes propagated.
    using PreviewCallback = std::function<void(FileTree)>;
    /// How many levels below the root a preview holds: the ring's five and one to spare.
    static constexpr int previewDepth = 6;
    using Clock = std::chrono::steady_clock;

    /// `workers` below 1 becomes 1. The application uses one worker per processor and 100 ms.
    DiskScanner(ScanOptions options, int workers,
                std::chrono::nanoseconds progressInterval = std::chrono::milliseconds(100));

    /// Scans `path` and returns its tree with sizes propagated; blocks until the scan finishes
    /// or is cancelled (then the partial tree is returned). Reserves `expectedCount` nodes
    /// plus 5% or, below 1, as many as the volume has inodes in use (address space only).
    /// `progress` runs on a worker thread, at most once per interval.
    /// With `preview`, the tree read so far is shown from a progress report on (see
    /// `previewDue`), so that a window can draw something long before a big scan ends.
    FileTree scan(std::string_view path, std::int64_t expectedCount = 0,
                  ProgressCallback progress = {}, PreviewCallback preview = {});
    /// The same into any sink; the root folder is `FileTree::root` there.
    void scan(std::string_view path, ScanSink& sink, ProgressCallback progress = {});

    /// Brings a loaded tree up to date with folders known to have changed: each listed folder
    /// found in the tree is read again on the calling thread and its children are reconciled
    /// by name; folders new to the tree are then scanned in full by the worker pool; which
    /// name of each hard-linked file counts is decided afresh; sizes are propagated once. A
    /// listed folder that is not in the tree is stood in for by its nearest ancestor that is
    /// (its appearance changed that ancestor too); paths outside the root are ignored. A
    /// cancel since the last `begin` stops it (the tree stays whole but partly updated).
    /// Returns how many folders were read again.
    std::size_t rescan(FileTree& tree, std::vector<std::string> directories);

    /// Live folders of the tree marked unreadable that open now (for instance after access was
    /// granted), in id order; to be read again with `rescan`.
    static std::vector<std::string> newlyReadable(const FileTree& tree);

    /// Forgets an earlier cancel: for a job of several steps (a catch-up) before its first
    /// step; `scan` does it itself.
    void begin();
    /// Stops the running scan soon; any thread. Has no effect on a scan started later.
    void cancel();
    /// True when the running or last scan or rescan was cancelled: its tree may be partial.
    bool isCancelled() const;

    /// The final figures of the most recent scan (its file counter, bytes and duration).
    ScanProgress lastTotals() const;

    const ScanOptions& options() const { return options_; }
    int workers() const { return workers_; }

private:
    struct Folder {
        std::string path;
        NodeId node = FileTree::none;
        DeviceNumber device = 0; ///< known from the parent's listing, or 0: ask the folder
    };
    struct InodeKey {
        DeviceNumber device = 0;
        std::uint64_t inode = 0;
        friend bool operator==(const InodeKey&, const InodeKey&) = default;
    };
    struct InodeKeyHash {
        std::size_t operator()(const InodeKey& key) const;
    };
    /// One folder as read: failed, or its device and entries; its own size when its
    /// descriptor was asked.
    struct Listing {
        bool ok = false;
        DeviceNumber device = 0;
        std::optional<std::uint64_t> ownSize;
        std::uint64_t inode = 0;
        std::span<const DirEntry> entries;
    };
    /// What a worker makes of one listing outside the lock, so that only linking it into the
    /// sink and queueing its subfolders happen under it: the judged entries, the subfolders
    /// to read (by index into `scanned`; their node is known once linked) and the counters.
    struct Batch {
        bool admitted = false;
        std::vector<ScannedEntry> scanned;
        std::vector<std::pair<std::size_t, Folder>> subfolders;
        std::vector<std::string_view> excluded;
        std::int64_t files = 0;
        std::uint64_t bytes = 0;
        /// Empties it; storage grown by one very wide folder is given back.
        void clear();
    };
    /// The state of one running scan, shared by its workers under `mutex_`.
    struct Job {
        explicit Job(ScanSink& target) : sink(target) {}
        ScanSink& sink;
        std::vector<Folder> queue;
        std::int64_t pending = 0;
        /// Fixed before the workers start (read by them without the lock).
        std::optional<std::set<DeviceNumber>> allowed;
        /// Under `linksMutex_`.
        std::unordered_set<InodeKey, InodeKeyHash> seenLinks;
        /// For a catch-up, under `linksMutex_`: the inodes of the multi-link files it added.
        std::optional<std::unordered_set<std::uint64_t>> addedLinks;
        Clock::time_point started;
        std::optional<Clock::time_point> lastProgress;
        ProgressCallback progress;
        std::int64_t files = 0;
        std::uint64_t bytes = 0;
    };

    void scanInto(std::string_view path, Job& job);
    /// Runs the worker body on `workers_` threads (the caller's among them) until the job's
    /// stack is drained or the scan is cancelled.
    void runWorkers(Job& job);
    void work(Job& job);
    std::optional<Folder> takeNext(Job& job);
    static Listing listFolder(DirectoryReader& reader, const Folder& folder);
    /// Outside the lock: judges every entry of an admitted listing into `batch` and names
    /// the subfolders to read.
    void prepare(Job& job, const Folder& folder, const Listing& listing, Batch& batch);
    /// Merges one prepared listing and reports progress outside the lock.
    void record(Job& job, const Folder& folder, const Listing& listing, Batch& batch);
    /// Under the lock: flags a failed or foreign folder, or links the batch into the sink.
    void addListing(Job& job, const Folder& folder, const Listing& listing, Batch& batch);
    /// The flags a scan gives the node of this entry (hard-link duplicates aside).
    static NodeFlags flagsFor(const DirEntry& entry);
    /// Judges one entry (size, flags, hard-link deduplication, counters) into `batch`.
    void judge(Job& job, Batch& batch, DeviceNumber device, const DirEntry& entry);
    /// Names the readable subfolders among the batch's entries, children of `folder`.
    static void nameSubfolders(const Folder& folder, Batch& batch);
    /// Hands the batch to the sink as children of `folder` and queues its subfolders.
    void place(Job& job, const Folder& folder, Batch& batch,
               std::unordered_set<NodeId>* handled = nullptr);
    /// Gathers the excluded names directly inside `folder` into the batch.
    void collectExclusions(std::string_view folder, Batch& batch) const;
    static bool isExcluded(const Batch& batch, const DirEntry& entry);
    /// Whether a listing of `device` may be entered; the first listing fixes the device when
    /// none was given.
    static bool admitsDevice(Job& job, DeviceNumber device);
    bool isNewLink(Job& job, DeviceNumber device, std::uint64_t inode);

    /// Reads one listed folder again and reconciles its children with what it holds now;
    /// folders new to the tree go on the job's stack and into `handled`.
    void refresh(Job& job, FileTree& tree, const Folder& folder, DirectoryReader& reader,
                 std::unordered_set<NodeId>& handled);
    void reconcile(Job& job, FileTree& tree, const Folder& folder, const Listing& listing,
                   std::unordered_set<NodeId>& handled);
    /// After a catch-up: of the names of each hard-linked file it touched, exactly one counts.
    static void settleHardLinks(FileTree& tree, const std::unordered_set<std::uint64_t>& added);
    std::optional<ScanProgress> progressDue(Job& job) const;
    /// Copies the top levels of `tree` under the lock and hands them to `preview`, unless one
    /// is being made or the last was too recent: previews wait at least twenty times what the
    /// last copy held the lock for, so that they cost the scan at most a twentieth.
    void previewDue(const FileTree& tree, const PreviewCallback& preview);

    ScanOptions options_;
    int workers_;
    std::chrono::nanoseconds progressInterval_;
    mutable std::mutex mutex_;
    std::mutex linksMutex_; ///< for the hard-link sets only; taken after `mutex_`, if both
    std::condition_variable condition_;
    bool cancelled_ = false;
    std::mutex previewMutex_;
    Clock::time_point nextPreview_; ///< under `previewMutex_`
    ScanProgress lastTotals_;
};

} // namespace brantle

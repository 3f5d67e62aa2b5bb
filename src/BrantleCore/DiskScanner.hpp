#pragma once

#include "BrantleCore/DirEntry.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/ScanOptions.hpp"
#include "BrantleCore/ScanProgress.hpp"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace brantle {

class DirectoryReader;

/// Walks a folder or volume into a FileTree of allocated sizes with a fixed number of worker
/// threads sharing one last-in-first-out stack of folders, one lock and one condition
/// variable. Folders are read outside the lock and merged into the tree under it.
///
/// Extension points for scanning parts of an existing tree (catch-up, newly readable
/// folders): build a Job over that tree whose stack holds the folders to read (after
/// `removeChildren` on each), seed `seenLinks` as needed, and call `runWorkers(job)`; every
/// listing goes through `addListing`, the one place where entries become nodes.
class DiskScanner {
public:
    using ProgressCallback = std::function<void(const ScanProgress&)>;
    using Clock = std::chrono::steady_clock;

    /// `workers` below 1 becomes 1. The application uses one worker per processor and 100 ms.
    DiskScanner(ScanOptions options, int workers,
                std::chrono::nanoseconds progressInterval = std::chrono::milliseconds(100));

    /// Scans `path` and returns its tree with sizes propagated; blocks until the scan finishes
    /// or is cancelled (then the partial tree is returned). `expectedCount` >= 1 reserves that
    /// many nodes plus 5%. `progress` runs on a worker thread, at most once per interval.
    FileTree scan(std::string_view path, std::int64_t expectedCount = 0,
                  ProgressCallback progress = {});

    /// Stops the running scan soon; any thread. Has no effect on a scan started later.
    void cancel();

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
    /// One folder as read: failed, or its device and entries.
    struct Listing {
        bool ok = false;
        DeviceNumber device = 0;
        std::span<const DirEntry> entries;
    };
    /// The state of one running scan, shared by its workers under `mutex_`.
    struct Job {
        explicit Job(FileTree& target) : tree(target) {}
        FileTree& tree;
        std::vector<Folder> queue;
        std::int64_t pending = 0;
        std::optional<std::set<DeviceNumber>> allowed;
        std::unordered_set<InodeKey, InodeKeyHash> seenLinks;
        Clock::time_point started;
        std::optional<Clock::time_point> lastProgress;
        ProgressCallback progress;
        std::int64_t files = 0;
        std::uint64_t bytes = 0;
    };

    /// Runs the worker body on `workers_` threads (the caller's among them) until the job's
    /// stack is drained or the scan is cancelled.
    void runWorkers(Job& job);
    void work(Job& job);
    std::optional<Folder> takeNext(Job& job);
    static Listing listFolder(DirectoryReader& reader, const Folder& folder);
    /// Merges one listing and reports progress outside the lock.
    void record(Job& job, const Folder& folder, const Listing& listing);
    /// Under the lock: flags a failed or foreign folder, or turns every entry into a node and
    /// queues the readable subfolders.
    void addListing(Job& job, const Folder& folder, const Listing& listing);
    void addEntry(Job& job, const Folder& folder, DeviceNumber device, const DirEntry& entry);
    std::optional<ScanProgress> progressDue(Job& job) const;

    ScanOptions options_;
    int workers_;
    std::chrono::nanoseconds progressInterval_;
    mutable std::mutex mutex_;
    std::condition_variable condition_;
    bool cancelled_ = false;
    ScanProgress lastTotals_;
    std::vector<std::string_view> excludedHere_; ///< scratch for addListing, under the lock
};

} // namespace brantle

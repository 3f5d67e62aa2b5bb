#include "BrantleCore/DiskScanner.hpp"

#include "BrantleCore/DirectoryReader.hpp"
#include "BrantleCore/Packages.hpp"

#include <algorithm>
#include <new>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <thread>
#include <unistd.h>

namespace brantle {

namespace {

std::uint64_t ownBlocks(const struct stat& info) {
    return folderBlocksCount ? static_cast<std::uint64_t>(info.st_blocks) * 512 : 0;
}

bool isSeparatorRoot(std::string_view path) {
    return path == "/";
}

std::string childPath(std::string_view folder, std::string_view name) {
    std::string path;
    path.reserve(folder.size() + 1 + name.size());
    path.append(folder);
    if (!isSeparatorRoot(folder)) path.push_back('/');
    path.append(name);
    return path;
}

/// The name `excluded` has directly inside `folder`, or an empty view.
std::string_view excludedNameIn(std::string_view folder, std::string_view excluded) {
    const std::size_t prefix = isSeparatorRoot(folder) ? 1 : folder.size() + 1;
    if (excluded.size() <= prefix || !excluded.starts_with(folder)) return {};
    if (excluded[prefix - 1] != '/') return {};
    const std::string_view name = excluded.substr(prefix);
    return name.find('/') == std::string_view::npos ? name : std::string_view{};
}

/// The inodes in use on the volume holding `path`, or 0 when it does not say: no scan
/// there meets more entries, further names of hard-linked files aside.
std::int64_t inodesInUse(std::string_view path) {
    struct statvfs info;
    if (statvfs(std::string(path).c_str(), &info) != 0 || info.f_files < info.f_ffree) return 0;
    return static_cast<std::int64_t>(info.f_files - info.f_ffree);
}

/// Reserves the columns for `expected` nodes plus 5%: only address space until nodes fill
/// it, and the columns then never move. Where address space is counted strictly and
/// refuses, the columns grow as nodes come. Says whether the room was reserved.
bool reserveFor(FileTree& tree, std::int64_t expected) {
    constexpr std::int64_t most = std::int64_t{1} << 30;
    const std::int64_t nodes = std::min(expected + expected / 20, most);
    try {
        tree.reserve(static_cast<std::size_t>(nodes));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace

NodeFlags DiskScanner::flagsFor(const DirEntry& entry) {
    NodeFlags flags;
    if (entry.isDir) flags |= NodeFlags::directory;
    if (entry.isSymlink) flags |= NodeFlags::symlink;
    if (entry.dataless) flags |= NodeFlags::dataless;
    if (entry.error != 0) flags |= NodeFlags::unreadable;
    if (entry.isDir && Packages::isPackageName(entry.name)) flags |= NodeFlags::package;
    return flags;
}

void DiskScanner::Batch::clear() {
    if (scanned.capacity() > DirEntryList::keptCapacity) {
        scanned = {};
        subfolders = {};
    }
    admitted = false;
    scanned.clear();
    subfolders.clear();
    excluded.clear();
    files = 0;
    bytes = 0;
}

std::size_t DiskScanner::InodeKeyHash::operator()(const InodeKey& key) const {
    std::uint64_t x = key.inode ^ (key.device << 40) ^ (key.device >> 24);
    x ^= x >> 33;
    x *= 0xff51afd7ed558ccdULL;
    x ^= x >> 33;
    return static_cast<std::size_t>(x);
}

DiskScanner::DiskScanner(ScanOptions options, int workers,
                         std::chrono::nanoseconds progressInterval)
    : options_(std::move(options)), workers_(std::clamp(workers, 1, 1024)),
      progressInterval_(progressInterval) {}

FileTree DiskScanner::scan(std::string_view path, std::int64_t expectedCount,
                           ProgressCallback progress, PreviewCallback preview) {
    FileTree tree(path);
    const std::int64_t expected = expectedCount >= 1 ? expectedCount : inodesInUse(path);
    if (expected >= 1) reserveFor(tree, expected);
    TreeSink sink(tree);
    if (preview) {
        // Not at once: a scan that ends within the first moments needs no preview.
        nextPreview_ = Clock::now() + progressInterval_ / 2;
        progress = [this, &tree, preview = std::move(preview),
                    report = std::move(progress)](const ScanProgress& figures) {
            if (report) report(figures);
            previewDue(tree, preview);
        };
    }
    scan(tree.rootPath(), sink, std::move(progress));
    tree.propagateSizes();
    return tree;
}

void DiskScanner::previewDue(const FileTree& tree, const PreviewCallback& preview) {
    const std::unique_lock making(previewMutex_, std::try_to_lock);
    if (!making.owns_lock() || Clock::now() < nextPreview_) return;
    const auto copying = Clock::now();
    FileTree top = [&] {
        const std::lock_guard lock(mutex_);
        return tree.topLevels(previewDepth);
    }();
    nextPreview_ =
        Clock::now() + std::max<Clock::duration>(progressInterval_, 20 * (Clock::now() - copying));
    top.propagateSizes();
    preview(std::move(top));
}

void DiskScanner::scan(std::string_view path, ScanSink& sink, ProgressCallback progress) {
    begin();
    Job job(sink);
    job.progress = std::move(progress);
    scanInto(path, job);
}

void DiskScanner::scanInto(std::string_view path, Job& job) {
    job.queue.push_back({std::string(path), FileTree::root});
    job.pending = 1;
    job.allowed = options_.allowedDevices;
    // Fixed now, so that workers judge entries outside the lock; a root that cannot be
    // asked fixes it with its own listing, which no other folder runs beside.
    struct stat info;
    if (!job.allowed && ::stat(std::string(path).c_str(), &info) == 0)
        job.allowed = std::set<DeviceNumber>{info.st_dev};
    job.started = Clock::now();
    runWorkers(job);
    std::lock_guard lock(mutex_);
    lastTotals_ = {job.files, job.bytes, Clock::now() - job.started};
}

void DiskScanner::begin() {
    std::lock_guard lock(mutex_);
    cancelled_ = false;
}

void DiskScanner::cancel() {
    {
        std::lock_guard lock(mutex_);
        cancelled_ = true;
    }
    condition_.notify_all();
}

ScanProgress DiskScanner::lastTotals() const {
    std::lock_guard lock(mutex_);
    return lastTotals_;
}

void DiskScanner::runWorkers(Job& job) {
    std::vector<std::jthread> helpers;
    helpers.reserve(static_cast<std::size_t>(workers_ - 1));
    for (int i = 1; i < workers_; ++i)
        helpers.emplace_back([this, &job] { work(job); });
    work(job);
}

void DiskScanner::work(Job& job) {
    DirectoryReader reader;
    Batch batch;
    while (std::optional<Folder> folder = takeNext(job)) {
        const Listing listing = listFolder(reader, *folder);
        prepare(job, *folder, listing, batch);
        record(job, *folder, listing, batch);
    }
}

std::optional<DiskScanner::Folder> DiskScanner::takeNext(Job& job) {
    std::unique_lock lock(mutex_);
    while (job.queue.empty()) {
        if (job.pending < 1 || cancelled_) {
            lock.unlock();
            condition_.notify_all();
            return std::nullopt;
        }
        condition_.wait(lock);
    }
    if (cancelled_) return std::nullopt;
    Folder folder = std::move(job.queue.back());
    job.queue.pop_back();
    return folder;
}

DiskScanner::Listing DiskScanner::listFolder(DirectoryReader& reader, const Folder& folder) {
    Listing listing;
    const int fd = openDirectory(folder.path);
    struct stat info;
    if (fd < 0) {
        // A folder that cannot be opened still holds its own blocks.
        if (folder.device == 0 && ::stat(folder.path.c_str(), &info) == 0) {
            listing.ownSize = ownBlocks(info);
            listing.inode = info.st_ino;
        }
        return listing;
    }
    DeviceNumber device = folder.device;
    if (device == 0 && fstat(fd, &info) == 0) {
        device = info.st_dev;
        listing.ownSize = ownBlocks(info);
        listing.inode = info.st_ino;
    }
    if (device != 0) {
        if (auto entries = reader.read(fd)) {
            listing.ok = true;
            listing.device = device;
            listing.entries = *entries;
        }
    }
    close(fd);
    return listing;
}

void DiskScanner::prepare(Job& job, const Folder& folder, const Listing& listing, Batch& batch) {
    batch.clear();
    if (!listing.ok || !admitsDevice(job, listing.device)) return;
    batch.admitted = true;
    collectExclusions(folder.path, batch);
    for (const DirEntry& entry : listing.entries) {
        if (entry.name.empty() || isExcluded(batch, entry)) continue;
        judge(job, batch, listing.device, entry);
    }
    nameSubfolders(folder, batch);
}

void DiskScanner::record(Job& job, const Folder& folder, const Listing& listing, Batch& batch) {
    std::optional<ScanProgress> report;
    bool wake = false;
    {
        std::lock_guard lock(mutex_);
        const std::size_t queuedBefore = job.queue.size();
        addListing(job, folder, listing, batch);
        --job.pending;
        report = progressDue(job);
        // Waiting workers need new work, the end of the scan, or nothing at all.
        wake = job.queue.size() > queuedBefore || job.pending < 1;
    }
    if (wake) condition_.notify_all();
    if (report && job.progress) job.progress(*report);
}

void DiskScanner::addListing(Job& job, const Folder& folder, const Listing& listing, Batch& batch) {
    if (listing.ownSize) job.sink.describeFolder(folder.node, *listing.ownSize, listing.inode);
    if (!listing.ok) {
        job.sink.markFolder(folder.node, NodeFlags::unreadable);
        return;
    }
    if (!batch.admitted) {
        job.sink.describeFolder(folder.node, 0, listing.inode);
        job.sink.markFolder(folder.node, NodeFlags::mountPoint);
        return;
    }
    place(job, folder, batch);
}

bool DiskScanner::admitsDevice(Job& job, DeviceNumber device) {
    if (!job.allowed) job.allowed = std::set<DeviceNumber>{device};
    return job.allowed->contains(device);
}

void DiskScanner::collectExclusions(std::string_view folder, Batch& batch) const {
    batch.excluded.clear();
    for (const std::string& excluded : options_.excludedPaths) {
        const std::string_view name = excludedNameIn(folder, excluded);
        if (!name.empty()) batch.excluded.push_back(name);
    }
}

bool DiskScanner::isExcluded(const Batch& batch, const DirEntry& entry) {
    return !batch.excluded.empty() && std::find(batch.excluded.begin(), batch.excluded.end(),
                                                entry.name) != batch.excluded.end();
}

void DiskScanner::judge(Job& job, Batch& batch, DeviceNumber device, const DirEntry& entry) {
    NodeFlags flags = flagsFor(entry);
    std::uint64_t size = entry.allocSize;
    if (entry.isDir) {
        // A subfolder whose device the listing already gave is judged here, so another
        // volume is never even opened; otherwise its own listing decides.
        const bool foreign = entry.error == 0 && entry.device != 0 && job.allowed &&
                             !job.allowed->contains(entry.device);
        if (foreign) flags |= NodeFlags::mountPoint;
        if (foreign || !folderBlocksCount) size = 0;
    } else if (entry.linkCount >= 2 && !isNewLink(job, device, entry.inode)) {
        size = 0;
        flags |= NodeFlags::hardlinkDuplicate;
    }
    batch.scanned.push_back({&entry, size, flags});
    ++batch.files;
    batch.bytes += size;
}

void DiskScanner::nameSubfolders(const Folder& folder, Batch& batch) {
    batch.subfolders.clear();
    for (std::size_t k = 0; k < batch.scanned.size(); ++k) {
        const ScannedEntry& scanned = batch.scanned[k];
        const DirEntry& entry = *scanned.entry;
        if (!entry.isDir || entry.error != 0 || scanned.flags.contains(NodeFlags::mountPoint))
            continue;
        batch.subfolders.emplace_back(
            k, Folder{childPath(folder.path, entry.name), FileTree::none, entry.device});
    }
}

void DiskScanner::place(Job& job, const Folder& folder, Batch& batch,
                        std::unordered_set<NodeId>* handled) {
    job.files += batch.files;
    job.bytes += batch.bytes;
    if (batch.scanned.empty()) return;
    const NodeId first = job.sink.addListing(folder.node, batch.scanned);
    for (auto& [index, subfolder] : batch.subfolders) {
        subfolder.node = static_cast<NodeId>(first + index);
        if (handled) handled->insert(subfolder.node);
        job.queue.push_back(std::move(subfolder));
        ++job.pending;
    }
}

bool DiskScanner::isNewLink(Job& job, DeviceNumber device, std::uint64_t inode) {
    std::lock_guard lock(linksMutex_);
    if (job.addedLinks) job.addedLinks->insert(inode);
    return job.seenLinks.insert(InodeKey{device, inode}).second;
}

std::optional<ScanProgress> DiskScanner::progressDue(Job& job) const {
    const Clock::time_point now = Clock::now();
    if (job.lastProgress && now - *job.lastProgress < progressInterval_) return std::nullopt;
    job.lastProgress = now;
    return ScanProgress{job.files, job.bytes, now - job.started};
}

} // namespace brantle

#include "BrantleCore/DiskScanner.hpp"

#include "BrantleCore/DirectoryReader.hpp"
#include "BrantleCore/Packages.hpp"

#include <algorithm>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace brantle {

namespace {

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

std::size_t DiskScanner::InodeKeyHash::operator()(const InodeKey& key) const {
    std::uint64_t x = key.inode ^ (key.device << 40) ^ (key.device >> 24);
    x ^= x >> 33;
    x *= 0xff51afd7ed558ccdULL;
    x ^= x >> 33;
    return static_cast<std::size_t>(x);
}

DiskScanner::DiskScanner(ScanOptions options, int workers,
                         std::chrono::nanoseconds progressInterval)
    : options_(std::move(options)), workers_(std::max(workers, 1)),
      progressInterval_(progressInterval) {}

FileTree DiskScanner::scan(std::string_view path, std::int64_t expectedCount,
                           ProgressCallback progress) {
    FileTree tree(path);
    if (expectedCount >= 1)
        tree.reserve(static_cast<std::size_t>(expectedCount + expectedCount / 20));
    {
        std::lock_guard lock(mutex_);
        cancelled_ = false;
    }
    Job job(tree);
    job.queue.push_back({tree.rootPath(), FileTree::root});
    job.pending = 1;
    job.allowed = options_.allowedDevices;
    job.started = Clock::now();
    job.progress = std::move(progress);
    runWorkers(job);
    tree.propagateSizes();
    {
        std::lock_guard lock(mutex_);
        lastTotals_ = {job.files, job.bytes, Clock::now() - job.started};
    }
    return tree;
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
    while (std::optional<Folder> folder = takeNext(job)) {
        const Listing listing = listFolder(reader, *folder);
        record(job, *folder, listing);
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
    if (fd < 0) return listing;
    DeviceNumber device = folder.device;
    struct stat info;
    if (device == 0 && fstat(fd, &info) == 0) device = info.st_dev;
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

void DiskScanner::record(Job& job, const Folder& folder, const Listing& listing) {
    std::optional<ScanProgress> report;
    bool wake = false;
    {
        std::lock_guard lock(mutex_);
        const std::size_t queuedBefore = job.queue.size();
        addListing(job, folder, listing);
        --job.pending;
        report = progressDue(job);
        // Waiting workers need new work, the end of the scan, or nothing at all.
        wake = job.queue.size() > queuedBefore || job.pending < 1;
    }
    if (wake) condition_.notify_all();
    if (report && job.progress) job.progress(*report);
}

void DiskScanner::addListing(Job& job, const Folder& folder, const Listing& listing) {
    FileTree& tree = job.tree;
    if (!listing.ok) {
        tree.setFlags(folder.node, tree.flags(folder.node) | NodeFlags::unreadable);
        return;
    }
    if (!admitsDevice(job, listing.device)) {
        tree.setFlags(folder.node, tree.flags(folder.node) | NodeFlags::mountPoint);
        return;
    }
    collectExclusions(folder.path);
    for (const DirEntry& entry : listing.entries) {
        if (entry.name.empty() || isExcludedHere(entry)) continue;
        addEntry(job, folder, listing.device, entry);
    }
}

bool DiskScanner::admitsDevice(Job& job, DeviceNumber device) {
    if (!job.allowed) job.allowed = std::set<DeviceNumber>{device};
    return job.allowed->contains(device);
}

void DiskScanner::collectExclusions(std::string_view folder) {
    excludedHere_.clear();
    for (const std::string& excluded : options_.excludedPaths) {
        const std::string_view name = excludedNameIn(folder, excluded);
        if (!name.empty()) excludedHere_.push_back(name);
    }
}

bool DiskScanner::isExcludedHere(const DirEntry& entry) const {
    return !excludedHere_.empty() &&
           std::find(excludedHere_.begin(), excludedHere_.end(), entry.name) != excludedHere_.end();
}

NodeId DiskScanner::addEntry(Job& job, const Folder& folder, DeviceNumber device,
                             const DirEntry& entry) {
    NodeFlags flags = flagsFor(entry);
    std::uint64_t size = entry.isDir ? 0 : entry.allocSize;
    if (!entry.isDir && entry.linkCount >= 2 && !isNewLink(job, device, entry.inode)) {
        size = 0;
        flags |= NodeFlags::hardlinkDuplicate;
    }
    const NodeId node =
        job.tree.append(folder.node, entry.name, size, entry.mtime, entry.inode, flags);
    ++job.files;
    job.bytes += size;
    if (!entry.isDir || entry.error != 0) return node;
    // A subfolder whose device the listing already gave is judged here, so another volume
    // is never even opened; otherwise its own listing decides.
    if (entry.device != 0 && job.allowed && !job.allowed->contains(entry.device)) {
        job.tree.setFlags(node, flags | NodeFlags::mountPoint);
        return node;
    }
    job.queue.push_back({childPath(folder.path, entry.name), node, entry.device});
    ++job.pending;
    return node;
}

bool DiskScanner::isNewLink(Job& job, DeviceNumber device, std::uint64_t inode) {
    if (job.linkSeed) seedLinks(job);
    return job.seenLinks.insert(InodeKey{device, inode}).second;
}

void DiskScanner::seedLinks(Job& job) {
    const LinkSeed seed = job.linkSeed.value();
    job.linkSeed.reset();
    const FileTree& tree = job.tree;
    const auto& parents = tree.columns().parents;
    const auto& flagBits = tree.columns().flagBits;
    const auto& inodes = tree.columns().inodes;
    // Nodes below a removed folder are not flagged dead themselves, only unreachable.
    std::vector<bool> gone(seed.before);
    constexpr std::uint16_t notCounted = NodeFlags::directory.rawValue |
                                         NodeFlags::hardlinkDuplicate.rawValue |
                                         NodeFlags::dead.rawValue;
    for (NodeId id = 1; id < seed.before; ++id) {
        gone[id] = (flagBits[id] & NodeFlags::dead.rawValue) != 0 || gone[parents[id]];
        if (!gone[id] && (flagBits[id] & notCounted) == 0)
            job.seenLinks.insert(InodeKey{seed.device, inodes[id]});
    }
}

std::optional<ScanProgress> DiskScanner::progressDue(Job& job) const {
    const Clock::time_point now = Clock::now();
    if (job.lastProgress && now - *job.lastProgress < progressInterval_) return std::nullopt;
    job.lastProgress = now;
    return ScanProgress{job.files, job.bytes, now - job.started};
}

} // namespace brantle

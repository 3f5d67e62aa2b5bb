// Catch-up: reading changed folders of a loaded tree again instead of scanning it afresh.
#include "BrantleCore/DiskScanner.hpp"

#include "BrantleCore/DirectoryReader.hpp"
#include "BrantleCore/PathText.hpp"
#include "BrantleCore/ScanSink.hpp"

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>

namespace brantle {

namespace {

/// The flags that describe what an entry is, as opposed to how reading it went.
constexpr NodeFlags identityFlags =
    NodeFlags::directory | NodeFlags::symlink | NodeFlags::dataless | NodeFlags::unreadable;

std::optional<DeviceNumber> deviceOf(const std::string& path) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0) return std::nullopt;
    return info.st_dev;
}

/// Whether each node is live and reachable from the root.
std::vector<bool> reachable(const FileTree& tree) {
    std::vector<bool> live(tree.count());
    const auto& parents = tree.columns().parents;
    const auto& flagBits = tree.columns().flagBits;
    if (!live.empty()) live[0] = true;
    for (NodeId id = 1; id < tree.count(); ++id)
        live[id] = (flagBits[id] & NodeFlags::dead.rawValue) == 0 && live[parents[id]];
    return live;
}

} // namespace

std::size_t DiskScanner::rescan(FileTree& tree, std::vector<std::string> directories) {
    for (std::string& path : directories)
        path.resize(PathText::withoutTrailingSlash(path).size());
    std::sort(directories.begin(), directories.end());
    directories.erase(std::unique(directories.begin(), directories.end()), directories.end());
    TreeSink sink(tree);
    Job job(sink);
    job.started = Clock::now();
    job.allowed = options_.allowedDevices;
    job.addedLinks.emplace();
    if (const auto device = deviceOf(tree.rootPath()); device && !job.allowed)
        job.allowed = std::set<DeviceNumber>{*device};

    // Nodes come and go while folders are read: sizes stay each folder's own until the end.
    tree.toOwnSizes();
    // Parents sort before their descendants, so a folder replaced in its parent's listing is
    // found handled (it will be scanned in full) before it would be read a second time.
    DirectoryReader reader;
    std::unordered_set<NodeId> handled;
    std::size_t reread = 0;
    for (const std::string& path : directories) {
        if (isCancelled()) break;
        const auto folder = tree.nearestFolder(path);
        if (!folder || handled.contains(*folder)) continue;
        refresh(job, tree, Folder{tree.rawPath(*folder), *folder}, reader, handled);
        ++reread;
    }
    job.pending = static_cast<std::int64_t>(job.queue.size());
    if (!job.queue.empty() && !isCancelled()) runWorkers(job);
    settleHardLinks(tree, *job.addedLinks);
    tree.propagateSizes();
    std::lock_guard lock(mutex_);
    lastTotals_ = {job.files, job.bytes, Clock::now() - job.started};
    return reread;
}

void DiskScanner::settleHardLinks(FileTree& tree, const std::unordered_set<std::uint64_t>& added) {
    const auto& flagBits = tree.columns().flagBits;
    const auto& inodes = tree.columns().inodes;
    const auto isDuplicate = [](std::uint16_t bits) {
        return (bits & NodeFlags::hardlinkDuplicate.rawValue) != 0;
    };
    if (added.empty() && std::none_of(flagBits.begin(), flagBits.end(), isDuplicate)) return;
    const std::vector<bool> live = reachable(tree);
    constexpr std::uint16_t fileMask = NodeFlags::directory.rawValue | NodeFlags::dead.rawValue;
    // The files to decide: those added with several links and every name not counted now.
    std::unordered_set<std::uint64_t> open = added;
    for (NodeId id = 1; id < tree.count(); ++id) {
        if (live[id] && isDuplicate(flagBits[id])) open.insert(inodes[id]);
    }
    if (open.empty()) return;
    // Few inodes are open: a bit per low inode bits spares nearly every file a hash lookup.
    std::vector<bool> maybeOpen(std::size_t{1} << 16);
    for (const std::uint64_t inode : open)
        maybeOpen[inode & 0xFFFF] = true;
    std::unordered_map<std::uint64_t, NodeId> counted;
    std::vector<NodeId> uncounted;
    for (NodeId id = 1; id < tree.count(); ++id) {
        if (!live[id] || (flagBits[id] & fileMask) != 0 || !maybeOpen[inodes[id] & 0xFFFF] ||
            !open.contains(inodes[id]))
            continue;
        const bool duplicate = (flagBits[id] & NodeFlags::hardlinkDuplicate.rawValue) != 0;
        if (!duplicate && counted.emplace(inodes[id], id).second) continue;
        tree.setSize(id, 0);
        tree.setFlags(id, tree.flags(id) | NodeFlags::hardlinkDuplicate);
        uncounted.push_back(id);
    }
    // A file none of whose counted names is left counts under the first name still present.
    std::string path;
    for (const NodeId id : uncounted) {
        if (counted.contains(inodes[id])) continue;
        tree.rawPath(id, path);
        const auto bytes = allocatedSize(path);
        if (!bytes) continue;
        NodeFlags flags = tree.flags(id);
        flags.remove(NodeFlags::hardlinkDuplicate);
        tree.setFlags(id, flags);
        tree.setSize(id, *bytes);
        counted.emplace(inodes[id], id);
    }
}

std::vector<std::string> DiskScanner::newlyReadable(const FileTree& tree) {
    constexpr std::uint16_t mask =
        NodeFlags::directory.rawValue | NodeFlags::unreadable.rawValue | NodeFlags::dead.rawValue;
    constexpr std::uint16_t unreadableFolder =
        NodeFlags::directory.rawValue | NodeFlags::unreadable.rawValue;
    std::vector<std::string> readable;
    std::string path;
    const auto& flagBits = tree.columns().flagBits;
    for (NodeId id = 0; id < tree.count(); ++id) {
        if ((flagBits[id] & mask) != unreadableFolder) continue;
        tree.rawPath(id, path);
        const int fd = openDirectory(path);
        if (fd < 0) continue;
        close(fd);
        readable.push_back(path);
    }
    return readable;
}

void DiskScanner::refresh(Job& job, FileTree& tree, const Folder& folder, DirectoryReader& reader,
                          std::unordered_set<NodeId>& handled) {
    handled.insert(folder.node);
    const Listing listing = listFolder(reader, folder);
    std::lock_guard lock(mutex_);
    NodeFlags flags = tree.flags(folder.node);
    flags.remove(NodeFlags::unreadable | NodeFlags::mountPoint);
    const bool admitted = listing.ok && admitsDevice(job, listing.device);
    // Its own blocks as its descriptor says now; another volume counts nothing.
    if (listing.ok && !admitted)
        tree.setSize(folder.node, 0);
    else if (listing.ownSize)
        job.sink.describeFolder(folder.node, *listing.ownSize, listing.inode);
    if (!admitted) {
        // What a scan keeps of a folder it cannot read or must not enter: the folder alone.
        for (NodeId child = tree.firstChild(folder.node); child != FileTree::none;
             child = tree.nextSibling(child))
            tree.detach(child);
        tree.setFlags(folder.node,
                      flags | (listing.ok ? NodeFlags::mountPoint : NodeFlags::unreadable));
        return;
    }
    tree.setFlags(folder.node, flags);
    reconcile(job, tree, folder, listing, handled);
}

void DiskScanner::reconcile(Job& job, FileTree& tree, const Folder& folder, const Listing& listing,
                            std::unordered_set<NodeId>& handled) {
    std::unordered_map<std::string_view, NodeId> present;
    for (NodeId child = tree.firstChild(folder.node); child != FileTree::none;
         child = tree.nextSibling(child))
        present.emplace(tree.nameBytes(child), child);

    Batch batch;
    batch.admitted = true;
    std::vector<NodeId> gone;
    collectExclusions(folder.path, batch);
    for (const DirEntry& entry : listing.entries) {
        if (entry.name.empty() || isExcluded(batch, entry)) continue;
        const auto found = present.find(entry.name);
        if (found == present.end()) {
            judge(job, batch, listing.device, entry);
            continue;
        }
        const NodeId node = found->second;
        present.erase(found);
        // Another object under the same name (a file that became a folder, a file renamed
        // over another, a folder made afresh) is replaced, and a new folder scanned in full.
        const bool same = tree.inode(node) == entry.inode &&
                          (tree.flags(node) & identityFlags) == (flagsFor(entry) & identityFlags);
        if (!same) {
            gone.push_back(node);
            judge(job, batch, listing.device, entry);
        } else if (entry.isDir) {
            // A kept folder's subtree stays as it is: a changed subfolder is listed itself.
            tree.update(node, 0, entry.mtime);
            if (!tree.flags(node).contains(NodeFlags::mountPoint))
                tree.setSize(node, folderBlocksCount ? entry.allocSize : 0);
        } else if (!tree.flags(node).contains(NodeFlags::hardlinkDuplicate)) {
            tree.update(node, entry.allocSize, entry.mtime);
        } else if (entry.linkCount < 2) {
            // The last name of a file once counted elsewhere: it counts here now.
            NodeFlags flags = tree.flags(node);
            flags.remove(NodeFlags::hardlinkDuplicate);
            tree.setFlags(node, flags);
            tree.update(node, entry.allocSize, entry.mtime);
        }
    }
    for (const auto& [name, node] : present)
        gone.push_back(node);
    // The names in `present` point into the tree's name bytes: remove before appending.
    present.clear();
    for (const NodeId node : gone)
        tree.detach(node);
    nameSubfolders(folder, batch);
    place(job, folder, batch, &handled);
}

bool DiskScanner::isCancelled() const {
    std::lock_guard lock(mutex_);
    return cancelled_;
}

} // namespace brantle

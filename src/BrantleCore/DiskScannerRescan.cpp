// Catch-up: reading changed folders of a loaded tree again instead of scanning it afresh.
#include "BrantleCore/DiskScanner.hpp"

#include "BrantleCore/DirectoryReader.hpp"
#include "BrantleCore/PathText.hpp"

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>

namespace brantle {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/// The flags that describe what an entry is, as opposed to how reading it went.
constexpr NodeFlags identityFlags =
    NodeFlags::directory | NodeFlags::symlink | NodeFlags::dataless | NodeFlags::unreadable;

std::string_view withoutTrailingSlash(std::string_view path) {
    if (path.size() >= 2 && path.back() == '/') path.remove_suffix(1);
    return path;
}

/// The child of `folder` named `piece`: by the stored bytes, or by the repaired name when the
/// piece holds a replacement character.
NodeId childNamed(const FileTree& tree, NodeId folder, std::string_view piece) {
    for (NodeId child = tree.firstChild(folder); child != FileTree::none;
         child = tree.nextSibling(child)) {
        if (tree.nameBytes(child) == piece) return child;
    }
    if (piece.find(replacementCharacter) == std::string_view::npos) return FileTree::none;
    for (NodeId child = tree.firstChild(folder); child != FileTree::none;
         child = tree.nextSibling(child)) {
        if (tree.name(child) == piece) return child;
    }
    return FileTree::none;
}

std::optional<DeviceNumber> deviceOf(const std::string& path) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0) return std::nullopt;
    return info.st_dev;
}

} // namespace

std::size_t DiskScanner::rescan(FileTree& tree, std::vector<std::string> directories) {
    for (std::string& path : directories)
        path.resize(withoutTrailingSlash(path).size());
    std::sort(directories.begin(), directories.end());
    directories.erase(std::unique(directories.begin(), directories.end()), directories.end());
    {
        std::lock_guard lock(mutex_);
        cancelled_ = false;
    }
    Job job(tree);
    job.started = Clock::now();
    job.allowed = options_.allowedDevices;
    if (const auto device = deviceOf(tree.rootPath())) {
        if (!job.allowed) job.allowed = std::set<DeviceNumber>{*device};
        job.linkSeed = LinkSeed{*device, static_cast<NodeId>(tree.count())};
    }

    // Parents sort before their descendants, so a folder replaced in its parent's listing is
    // found handled (it will be scanned in full) before it would be read a second time.
    DirectoryReader reader;
    std::unordered_set<NodeId> handled;
    std::size_t reread = 0;
    for (const std::string& path : directories) {
        if (isCancelled()) break;
        const auto folder = folderFor(tree, path);
        if (!folder || handled.contains(folder->node)) continue;
        refresh(job, *folder, reader, handled);
        ++reread;
    }
    job.pending = static_cast<std::int64_t>(job.queue.size());
    if (!job.queue.empty()) runWorkers(job);
    tree.propagateSizes();
    std::lock_guard lock(mutex_);
    lastTotals_ = {job.files, job.bytes, Clock::now() - job.started};
    return reread;
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

std::optional<DiskScanner::Folder> DiskScanner::folderFor(const FileTree& tree,
                                                          std::string_view path) {
    if (tree.count() == 0) return std::nullopt;
    path = withoutTrailingSlash(path);
    const std::string& rootPath = tree.rootPath();
    if (!PathText::isAtOrInside(path, rootPath)) return std::nullopt;
    NodeId current = FileTree::root;
    const std::string_view below = rootPath == "/" ? path : path.substr(rootPath.size());
    for (const std::string_view piece : PathText::components(below)) {
        const NodeId child = childNamed(tree, current, piece);
        if (child == FileTree::none || !tree.flags(child).contains(NodeFlags::directory)) break;
        current = child;
    }
    return Folder{tree.rawPath(current), current};
}

void DiskScanner::refresh(Job& job, const Folder& folder, DirectoryReader& reader,
                          std::unordered_set<NodeId>& handled) {
    handled.insert(folder.node);
    const Listing listing = listFolder(reader, folder);
    std::lock_guard lock(mutex_);
    FileTree& tree = job.tree;
    NodeFlags flags = tree.flags(folder.node);
    flags.remove(NodeFlags::unreadable | NodeFlags::mountPoint);
    if (!listing.ok || !admitsDevice(job, listing.device)) {
        // What a scan keeps of a folder it cannot read or must not enter: the folder alone.
        tree.removeChildren(folder.node);
        tree.setFlags(folder.node,
                      flags | (listing.ok ? NodeFlags::mountPoint : NodeFlags::unreadable));
        return;
    }
    tree.setFlags(folder.node, flags);
    reconcile(job, folder, listing, handled);
}

void DiskScanner::reconcile(Job& job, const Folder& folder, const Listing& listing,
                            std::unordered_set<NodeId>& handled) {
    FileTree& tree = job.tree;
    std::unordered_map<std::string_view, NodeId> present;
    for (NodeId child = tree.firstChild(folder.node); child != FileTree::none;
         child = tree.nextSibling(child))
        present.emplace(tree.nameBytes(child), child);

    std::vector<const DirEntry*> added;
    std::vector<NodeId> gone;
    collectExclusions(folder.path);
    for (const DirEntry& entry : listing.entries) {
        if (entry.name.empty() || isExcludedHere(entry)) continue;
        const auto found = present.find(entry.name);
        if (found == present.end()) {
            added.push_back(&entry);
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
            added.push_back(&entry);
        } else if (!tree.flags(node).contains(NodeFlags::hardlinkDuplicate)) {
            // A kept folder's subtree stays as it is: a changed subfolder is listed itself.
            tree.update(node, entry.allocSize, entry.mtime);
        }
    }
    for (const auto& [name, node] : present)
        gone.push_back(node);
    // The names in `present` point into the tree's name bytes: remove before appending.
    present.clear();
    for (const NodeId node : gone)
        tree.remove(node);
    for (const DirEntry* entry : added) {
        const NodeId node = addEntry(job, folder, listing.device, *entry);
        if (entry->isDir) handled.insert(node);
    }
}

bool DiskScanner::isCancelled() const {
    std::lock_guard lock(mutex_);
    return cancelled_;
}

} // namespace brantle

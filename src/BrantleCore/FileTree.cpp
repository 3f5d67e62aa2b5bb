#include "BrantleCore/FileTree.hpp"

#include "BrantleCore/Fatal.hpp"
#include "BrantleCore/PathText.hpp"
#include "BrantleCore/Utf8.hpp"

#include <algorithm>
#include <limits>
#include <ranges>
#include <string>

namespace brantle {

namespace {

std::string normalisedRoot(std::string_view path) {
    return std::string(PathText::withoutTrailingSlash(path));
}

} // namespace

FileTree::FileTree(std::string_view rootPath) : rootPath_(normalisedRoot(rootPath)) {
    pushNode(none, {}, 0, 0, 0, NodeFlags::directory.rawValue);
}

FileTree::FileTree(std::string_view rootPath, EmptyTag) : rootPath_(normalisedRoot(rootPath)) {}

void FileTree::outOfRange(NodeId id) const {
    fatal("FileTree: node id " + std::to_string(id) + " out of range (count " +
          std::to_string(count()) + ")");
}

void FileTree::Columns::reserve(std::size_t nodes, std::size_t nameBytes) {
    parents.reserve(nodes);
    firstChildren.reserve(nodes);
    nextSiblings.reserve(nodes);
    sizes.reserve(nodes);
    mtimes.reserve(nodes);
    inodes.reserve(nodes);
    flagBits.reserve(nodes);
    nameOffsets.reserve(nodes);
    nameLengths.reserve(nodes);
    names.reserve(nameBytes);
}

void FileTree::reserve(std::size_t n) {
    columns_.reserve(n, n * expectedNameBytes);
}

NodeId FileTree::pushNode(NodeId parent, std::string_view name, std::uint64_t size,
                          std::int64_t mtime, std::uint64_t inode, std::uint16_t flagBits) {
    auto& c = columns_;
    if (c.parents.size() >= none) fatal("FileTree: more than 4294967295 nodes");
    if (parent != none) checked(parent);
    if (name.size() > maxNameBytes) name = name.substr(0, maxNameBytes);
    if (c.names.size() + name.size() > std::numeric_limits<std::uint32_t>::max())
        fatal("FileTree: name bytes exceed 32 bits");

    const auto id = static_cast<NodeId>(c.parents.size());
    NodeId next = none;
    if (parent != none) {
        next = c.firstChildren[parent];
        c.firstChildren[parent] = id;
    }
    c.parents.push_back(parent);
    c.firstChildren.push_back(none);
    c.nextSiblings.push_back(next);
    c.sizes.push_back(size);
    c.mtimes.push_back(mtime);
    c.inodes.push_back(inode);
    c.flagBits.push_back(flagBits);
    c.nameOffsets.push_back(static_cast<std::uint32_t>(c.names.size()));
    c.nameLengths.push_back(static_cast<std::uint16_t>(name.size()));
    c.names.insert(c.names.end(), name.begin(), name.end());
    return id;
}

NodeId FileTree::append(NodeId parent, std::string_view name, std::uint64_t size,
                        std::int64_t mtime, std::uint64_t inode, NodeFlags flags) {
    const bool isFolder = flags.contains(NodeFlags::directory);
    return pushNode(parent, name, isFolder ? 0 : size, mtime, inode, flags.rawValue);
}

NodeId FileTree::appendRaw(NodeId parent, const FileTree& from, NodeId node) {
    const auto& c = from.columns_;
    return pushNode(parent, from.nameBytes(node), c.sizes[node], c.mtimes[node], c.inodes[node],
                    c.flagBits[node]);
}

void FileTree::update(NodeId id, std::uint64_t size, std::int64_t mtime) {
    checked(id);
    if (!flags(id).contains(NodeFlags::directory)) columns_.sizes[id] = size;
    columns_.mtimes[id] = mtime;
}

void FileTree::setFlags(NodeId id, NodeFlags flags) {
    columns_.flagBits[checked(id)] = flags.rawValue;
}

void FileTree::setSize(NodeId id, std::uint64_t size) {
    columns_.sizes[checked(id)] = size;
}

void FileTree::setInode(NodeId id, std::uint64_t inode) {
    columns_.inodes[checked(id)] = inode;
}

void FileTree::propagateSizes() {
    auto& c = columns_;
    const std::size_t n = c.parents.size();
    for (std::size_t i = n; i-- > 1;) {
        if (c.flagBits[i] & NodeFlags::dead.rawValue) continue;
        const NodeId p = c.parents[i];
        if (p == none) continue;
        if (__builtin_add_overflow(c.sizes[p], c.sizes[i], &c.sizes[p]))
            fatal("FileTree: folder size overflows 64 bits");
    }
}

void FileTree::toOwnSizes() {
    auto& c = columns_;
    // Parents precede children, so a node's size is still its whole size when it is met.
    for (std::size_t i = 1; i < c.parents.size(); ++i) {
        if (c.flagBits[i] & NodeFlags::dead.rawValue) continue;
        auto& parentSize = c.sizes[c.parents[i]];
        parentSize = parentSize < c.sizes[i] ? 0 : parentSize - c.sizes[i];
    }
}

std::uint64_t FileTree::ownSize(NodeId id) const {
    std::uint64_t own = size(id);
    for (NodeId child = columns_.firstChildren[id]; child != none;
         child = columns_.nextSiblings[child])
        own = own < columns_.sizes[child] ? 0 : own - columns_.sizes[child];
    return own;
}

bool FileTree::isCompact() const {
    const auto& bits = columns_.flagBits;
    return std::none_of(bits.begin(), bits.end(),
                        [](std::uint16_t b) { return (b & NodeFlags::dead.rawValue) != 0; });
}

FileTree FileTree::compact(FileTree tree) {
    if (tree.isCompact()) return tree;
    return tree.compacted();
}

void FileTree::subtractFromAncestors(std::uint64_t amount, NodeId startingAt) {
    for (NodeId id = startingAt; id != none; id = columns_.parents[id]) {
        auto& size = columns_.sizes[checked(id)];
        size = size < amount ? 0 : size - amount;
    }
}

void FileTree::unlink(NodeId id, NodeId parent) {
    auto& c = columns_;
    if (c.firstChildren[parent] == id) {
        c.firstChildren[parent] = c.nextSiblings[id];
        return;
    }
    for (NodeId prev = c.firstChildren[parent]; prev != none; prev = c.nextSiblings[prev]) {
        if (c.nextSiblings[prev] == id) {
            c.nextSiblings[prev] = c.nextSiblings[id];
            return;
        }
    }
}

void FileTree::remove(NodeId id) {
    checked(id);
    if (id == root || isDead(id)) return;
    detach(id);
    subtractFromAncestors(columns_.sizes[id], columns_.parents[id]);
}

void FileTree::detach(NodeId id) {
    checked(id);
    if (id == root || isDead(id)) return;
    const NodeId p = columns_.parents[id];
    if (p != none) unlink(id, p);
    columns_.flagBits[id] |= NodeFlags::dead.rawValue;
}

void FileTree::removeChildren(NodeId id) {
    auto& c = columns_;
    const std::uint64_t own = ownSize(checked(id));
    for (NodeId child = c.firstChildren[id]; child != none; child = c.nextSiblings[child])
        c.flagBits[child] |= NodeFlags::dead.rawValue;
    c.firstChildren[id] = none;
    const std::uint64_t former = c.sizes[id];
    c.sizes[id] = own;
    subtractFromAncestors(former - own, c.parents[id]);
}

FileTree FileTree::compacted() const {
    FileTree out(rootPath_, empty);
    out.reserve(count());
    if (count() == 0) return out;
    struct Pending {
        NodeId old;
        NodeId newParent;
    };
    std::vector<Pending> queue;
    queue.reserve(count());
    queue.push_back({root, none});
    for (std::size_t head = 0; head < queue.size(); ++head) {
        const auto [old, newParent] = queue[head];
        const NodeId copy = out.appendRaw(newParent, *this, old);
        for (NodeId child = columns_.firstChildren[old]; child != none;
             child = columns_.nextSiblings[child])
            queue.push_back({child, copy});
    }
    return out;
}

FileTree FileTree::topLevels(int depth) const {
    const auto& c = columns_;
    std::vector<std::uint64_t> whole(c.sizes.begin(), c.sizes.end());
    for (std::size_t i = whole.size(); i-- > 1;) {
        const NodeId p = c.parents[i];
        if (p == none || (c.flagBits[i] & NodeFlags::dead.rawValue)) continue;
        if (__builtin_add_overflow(whole[p], whole[i], &whole[p]))
            whole[p] = std::numeric_limits<std::uint64_t>::max();
    }
    FileTree out(rootPath_, empty);
    if (count() == 0) return out;
    struct Pending {
        NodeId old;
        NodeId newParent;
        int level;
    };
    std::vector<Pending> queue{{root, none, 0}};
    for (std::size_t head = 0; head < queue.size(); ++head) {
        const auto [old, newParent, level] = queue[head];
        const NodeId copy = out.appendRaw(newParent, *this, old);
        if (level == depth) {
            out.columns_.sizes[copy] = whole[old];
            continue;
        }
        for (NodeId child = c.firstChildren[old]; child != none; child = c.nextSiblings[child])
            queue.push_back({child, copy, level + 1});
    }
    return out;
}

std::string_view FileTree::nameBytes(NodeId id) const {
    const auto& c = columns_;
    return {c.names.data() + c.nameOffsets[checked(id)], c.nameLengths[id]};
}

std::string FileTree::name(NodeId id) const {
    if (checked(id) == root) {
        const auto slash = rootPath_.find_last_of('/');
        if (slash == std::string::npos) return rootPath_;
        const std::string last = rootPath_.substr(slash + 1);
        return last.empty() ? rootPath_ : last;
    }
    return repairedUtf8(nameBytes(id));
}

std::string FileTree::path(NodeId id) const {
    if (checked(id) == root) return rootPath_;
    std::vector<NodeId> chain;
    for (NodeId n = id; n != root && n != none; n = columns_.parents[n])
        chain.push_back(n);
    std::string out = rootPath_;
    for (const NodeId n : std::views::reverse(chain)) {
        if (out != "/") out += '/';
        out += repairedUtf8(nameBytes(n));
    }
    return out;
}

std::string FileTree::rawPath(NodeId id) const {
    std::string out;
    rawPath(id, out);
    return out;
}

void FileTree::rawPath(NodeId id, std::string& out) const {
    std::size_t length = rootPath_.size();
    NodeId n = checked(id);
    for (; n != root && n != none; n = columns_.parents[n])
        length += 1 + columns_.nameLengths[n];
    out.resize(length);
    // Filled from the end, so no list of ancestors is needed.
    std::size_t end = length;
    for (n = id; n != root && n != none; n = columns_.parents[n]) {
        const std::string_view name = nameBytes(n);
        end -= name.size();
        name.copy(out.data() + end, name.size());
        out[--end] = '/';
    }
    rootPath_.copy(out.data(), rootPath_.size());
    if (rootPath_ == "/" && id != root) out.erase(0, 1); // "/" + "/a" would double the separator
}

std::vector<NodeId> FileTree::children(NodeId id) const {
    std::vector<NodeId> out;
    for (NodeId child = firstChild(id); child != none; child = columns_.nextSiblings[child])
        out.push_back(child);
    return out;
}

std::vector<NodeId> FileTree::childrenBySize(NodeId id) const {
    auto out = children(id);
    std::stable_sort(out.begin(), out.end(),
                     [this](NodeId a, NodeId b) { return columns_.sizes[a] > columns_.sizes[b]; });
    return out;
}

bool FileTree::nameMatches(NodeId id, std::string_view piece) const {
    const std::string_view raw = nameBytes(id);
    if (raw == piece) return true;
    // Only a repaired name can equal a piece that differs from the raw bytes.
    if (piece.find(replacementCharacter) == std::string_view::npos) return false;
    return repairedUtf8(raw) == piece;
}

NodeId FileTree::childNamed(NodeId folder, std::string_view piece) const {
    const bool mayBeRepaired = piece.contains(replacementCharacter);
    for (NodeId child = columns_.firstChildren[folder]; child != none;
         child = columns_.nextSiblings[child]) {
        if ((mayBeRepaired || columns_.nameLengths[child] == piece.size()) &&
            nameMatches(child, piece))
            return child;
    }
    return none;
}

std::optional<FileTree::Walk> FileTree::walk(std::string_view atPath) const {
    atPath = PathText::withoutTrailingSlash(atPath);
    if (count() == 0 || !PathText::isAtOrInside(atPath, rootPath_)) return std::nullopt;
    const std::string_view below = rootPath_ == "/" ? atPath : atPath.substr(rootPath_.size());
    Walk walk{root, true};
    for (const std::string_view piece : PathText::components(below)) {
        const NodeId child = childNamed(walk.reached, piece);
        if (child == none) {
            walk.complete = false;
            break;
        }
        walk.reached = child;
    }
    return walk;
}

std::optional<NodeId> FileTree::node(std::string_view atPath) const {
    const auto found = walk(atPath);
    if (!found || !found->complete) return std::nullopt;
    return found->reached;
}

std::optional<NodeId> FileTree::nearestFolder(std::string_view atPath) const {
    const auto found = walk(atPath);
    if (!found) return std::nullopt;
    NodeId id = found->reached;
    while (id != root && !flags(id).contains(NodeFlags::directory))
        id = columns_.parents[id];
    return id;
}

} // namespace brantle

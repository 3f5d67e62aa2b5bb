#pragma once

#include "BrantleCore/ColumnAllocator.hpp"
#include "BrantleCore/NodeFlags.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brantle {

using NodeId = std::uint32_t;

/// The scan result: one tree stored as nine parallel columns indexed by a 32-bit node id,
/// plus one pool of name bytes. Node 0 is the root. Sizes are allocated bytes.
/// No lock and no atomics: callers allow one writer at a time. Shared by reference
/// (std::shared_ptr), so it is move-only.
class FileTree {
public:
    static constexpr NodeId none = 0xFFFF'FFFFu;
    static constexpr NodeId root = 0;
    static constexpr std::size_t maxNameBytes = 65535;
    static constexpr std::size_t expectedNameBytes = 22;

    template <class T> using Column = std::vector<T, ColumnAllocator<T>>;

    /// The columns themselves, for the snapshot codec which writes and fills them whole.
    struct Columns {
        Column<NodeId> parents;
        Column<NodeId> firstChildren;
        Column<NodeId> nextSiblings;
        Column<std::uint64_t> sizes;
        Column<std::int64_t> mtimes;
        Column<std::uint64_t> inodes;
        Column<std::uint16_t> flagBits;
        Column<std::uint32_t> nameOffsets;
        Column<std::uint16_t> nameLengths;
        Column<char> names;

        void reserve(std::size_t nodes, std::size_t nameBytes);
    };

    struct EmptyTag {};
    static constexpr EmptyTag empty{};

    /// A tree holding only the root folder. One trailing "/" is dropped unless the path is "/".
    explicit FileTree(std::string_view rootPath);
    /// A tree with no nodes at all, for a decoder that fills every column itself.
    FileTree(std::string_view rootPath, EmptyTag);

    FileTree(FileTree&&) noexcept = default;
    FileTree& operator=(FileTree&&) noexcept = default;
    FileTree(const FileTree&) = delete;
    FileTree& operator=(const FileTree&) = delete;

    /// Reserves room for n nodes in every column and n × 22 name bytes.
    void reserve(std::size_t n);

    /// Appends a node and links it in front of its parent's children. A folder's size starts
    /// at 0 (`setSize` gives it its own blocks); names are cut to 65535 bytes. Ancestors'
    /// sizes are not touched.
    NodeId append(NodeId parent, std::string_view name, std::uint64_t size, std::int64_t mtime,
                  std::uint64_t inode, NodeFlags flags);
    /// Sets size (ignored for folders) and mtime; ancestors are not adjusted.
    void update(NodeId id, std::uint64_t size, std::int64_t mtime);
    void setFlags(NodeId id, NodeFlags flags);
    /// Sets the stored size of any node, a folder's included; ancestors are not adjusted.
    void setSize(NodeId id, std::uint64_t size);
    void setInode(NodeId id, std::uint64_t inode);

    /// Adds every live node's size into its parent in one backward pass, so that each folder
    /// holds its own size plus its contents. Call it once on a tree whose folders hold only
    /// their own size (as appended, or after `toOwnSizes`). Aborts if a sum overflows.
    void propagateSizes();
    /// The reverse: each folder keeps only its own size (its size less its live children's,
    /// at least 0), so that nodes can be added and removed before propagating again.
    void toOwnSizes();
    /// The size of a folder itself: its size less its live children's (at least 0).
    std::uint64_t ownSize(NodeId id) const;
    /// Unlinks the node, flags it dead and subtracts its size from every ancestor (saturating).
    void remove(NodeId id);
    /// Unlinks the node and flags it dead; sizes are not touched (for trees of own sizes).
    void detach(NodeId id);
    /// Flags every child dead and empties the child list; a folder keeps its own size and the
    /// rest is subtracted from it and every ancestor.
    void removeChildren(NodeId id);

    /// True when every node is live and reachable, so `compacted` would copy it unchanged.
    bool isCompact() const;

    /// A renumbered copy holding only live, reachable nodes, copied breadth first: each
    /// folder's children come out in reverse order; sizes are copied, not recomputed.
    FileTree compacted() const;
    /// For a tree of own sizes (as during a scan): a breadth-first copy of the nodes down to
    /// `depth` levels below the root, in which a folder on the last level holds its whole size.
    /// Propagating the copy's sizes then gives every node it holds its true total.
    FileTree topLevels(int depth) const;
    /// Itself when compact, otherwise its compacted copy: a tree with no copy to spare.
    static FileTree compact(FileTree tree);

    const std::string& rootPath() const { return rootPath_; }
    std::size_t count() const { return columns_.parents.size(); }

    NodeId parent(NodeId id) const { return columns_.parents[checked(id)]; }
    NodeId firstChild(NodeId id) const { return columns_.firstChildren[checked(id)]; }
    NodeId nextSibling(NodeId id) const { return columns_.nextSiblings[checked(id)]; }
    std::uint64_t size(NodeId id) const { return columns_.sizes[checked(id)]; }
    std::int64_t mtime(NodeId id) const { return columns_.mtimes[checked(id)]; }
    std::uint64_t inode(NodeId id) const { return columns_.inodes[checked(id)]; }
    NodeFlags flags(NodeId id) const { return NodeFlags(columns_.flagBits[checked(id)]); }
    bool isDead(NodeId id) const { return flags(id).contains(NodeFlags::dead); }

    /// The stored name bytes (the root's are empty), not repaired.
    std::string_view nameBytes(NodeId id) const;
    /// The display name: for the root the last component of rootPath ("/" for "/"),
    /// otherwise the name decoded as UTF-8 with invalid sequences replaced.
    std::string name(NodeId id) const;
    /// The absolute path of the node (rootPath for the root).
    std::string path(NodeId id) const;
    /// The path with the names as stored, not repaired: the one to open the node with.
    std::string rawPath(NodeId id) const;
    /// The same into `out`, reusing its storage.
    void rawPath(NodeId id, std::string& out) const;

    /// Child ids in list order (most recently appended first).
    std::vector<NodeId> children(NodeId id) const;
    /// Child ids by size, largest first; equal sizes keep list order.
    std::vector<NodeId> childrenBySize(NodeId id) const;
    /// The node at an absolute path inside the tree, or no value. A piece of the path names
    /// the child whose stored bytes equal it or, holding U+FFFD, whose repaired name does.
    std::optional<NodeId> node(std::string_view atPath) const;
    /// The deepest folder of the tree on the way to `atPath` by the same rules (the node
    /// itself when it is a folder), or no value when the path is outside the root.
    std::optional<NodeId> nearestFolder(std::string_view atPath) const;

    const Columns& columns() const { return columns_; }
    /// For decoders only: they must leave the columns of equal length and the invariants whole.
    Columns& mutableColumns() { return columns_; }

private:
    NodeId checked(NodeId id) const {
        if (id >= columns_.parents.size()) outOfRange(id);
        return id;
    }
    [[noreturn]] void outOfRange(NodeId id) const;
    NodeId appendRaw(NodeId parent, const FileTree& from, NodeId node);
    NodeId pushNode(NodeId parent, std::string_view name, std::uint64_t size, std::int64_t mtime,
                    std::uint64_t inode, std::uint16_t flagBits);
    void subtractFromAncestors(std::uint64_t amount, NodeId startingAt);
    void unlink(NodeId id, NodeId parent);
    bool nameMatches(NodeId id, std::string_view piece) const;
    NodeId childNamed(NodeId folder, std::string_view piece) const;
    struct Walk {
        NodeId reached;
        bool complete; ///< every piece was found
    };
    std::optional<Walk> walk(std::string_view atPath) const;

    std::string rootPath_;
    Columns columns_;
};

} // namespace brantle

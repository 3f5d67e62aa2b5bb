#pragma once

#include "BrantleCore/DirEntry.hpp"
#include "BrantleCore/FileTree.hpp"
#include "BrantleCore/NodeFlags.hpp"

#include <cstdint>
#include <span>

namespace brantle {

/// One entry of a folder's listing as the scanner judged it: the bytes it counts for (0 for
/// a further name of a hard-linked file) and the flags its node gets.
struct ScannedEntry {
    const DirEntry* entry = nullptr;
    std::uint64_t size = 0;
    NodeFlags flags;
};

/// Where a scan puts what it reads, one folder at a time and under the scanner's lock, so a
/// sink needs no lock of its own. Node ids are the sink's: the root folder is
/// `FileTree::root`, and the entries of one listing get consecutive ids.
class ScanSink {
public:
    virtual ~ScanSink() = default;
    /// Adds the entries as children of `folder`; entry k gets the returned id + k.
    virtual NodeId addListing(NodeId folder, std::span<const ScannedEntry> entries) = 0;
    /// Adds flags to a folder that could not be read or is not entered.
    virtual void markFolder(NodeId folder, NodeFlags added) = 0;
    /// The allocated bytes of the folder itself and its inode, as its descriptor reports them.
    virtual void describeFolder(NodeId folder, std::uint64_t ownBytes, std::uint64_t inode) = 0;
};

/// The in-memory tree as a sink; its sizes are propagated once the scan is over.
class TreeSink final : public ScanSink {
public:
    explicit TreeSink(FileTree& tree) : tree_(tree) {}

    NodeId addListing(NodeId folder, std::span<const ScannedEntry> entries) override {
        const auto first = static_cast<NodeId>(tree_.count());
        for (const ScannedEntry& scanned : entries) {
            const DirEntry& e = *scanned.entry;
            const NodeId id =
                tree_.append(folder, e.name, scanned.size, e.mtime, e.inode, scanned.flags);
            if (e.isDir) tree_.setSize(id, scanned.size);
        }
        return first;
    }
    void markFolder(NodeId folder, NodeFlags added) override {
        tree_.setFlags(folder, tree_.flags(folder) | added);
    }
    void describeFolder(NodeId folder, std::uint64_t ownBytes, std::uint64_t inode) override {
        tree_.setSize(folder, ownBytes);
        tree_.setInode(folder, inode);
    }

    FileTree& tree() { return tree_; }

private:
    FileTree& tree_;
};

} // namespace brantle

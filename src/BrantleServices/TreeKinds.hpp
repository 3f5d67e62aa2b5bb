#pragma once

#include "BrantleCore/FileTree.hpp"
#include "BrantleServices/FileKind.hpp"
#include "BrantleServices/KindClassifier.hpp"

#include <cstdint>
#include <vector>

namespace brantle {

/// The kind of every file of one tree and, for every folder, the allocated bytes of each
/// kind among the files below it. Made once per tree, off the window's thread; then any
/// folder's figures are a look-up. Holds no reference to the tree.
class TreeKinds {
public:
    /// Classifies the live files of `tree` by name and sums their sizes into every folder
    /// above them; folders' own sizes are left out. Needs parents numbered before their
    /// children, as every tree is.
    static TreeKinds of(const FileTree& tree, KindClassifier& classifier);

    /// Bytes of each kind below folder `node`; zeros for a file or an id outside the tree.
    KindSizes sizes(NodeId node) const;
    /// A file's kind; a folder's is the kind holding most of its bytes (`other` when it
    /// holds none).
    FileKind kindOf(NodeId node) const;
    std::size_t count() const { return kinds_.size(); }

private:
    static constexpr std::uint32_t noSlot = 0xFFFF'FFFFu;

    std::vector<FileKind> kinds_;
    std::vector<std::uint32_t> folderSlots_; ///< per node: its row in `folderSizes_`, or none
    std::vector<KindSizes> folderSizes_;
};

} // namespace brantle

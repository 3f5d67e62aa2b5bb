#pragma once

#include "BrantleCore/FileTree.hpp"
#include "BrantleServices/FileKind.hpp"
#include "BrantleServices/VolumeInfo.hpp"
#include "RingKit/RingSegment.hpp"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ambrel {

/// What the window shows of the current tree: the focused folder, the ring's segments and
/// their labels, the lists and the centre gauge. Plain state; the model says when it changes.
class ViewState {
public:
    using Kind = ringkit::RingSegment::Kind;

    static constexpr int maxDepth = 5;

    const std::shared_ptr<const brantle::FileTree>& tree() const { return tree_; }
    brantle::NodeId focus() const { return focus_; }
    const std::vector<ringkit::RingSegment>& segments() const { return segments_; }
    int layoutID() const { return layoutID_; }

    /// Shows `tree` (none drops it), focused on `focusPath` when the tree holds it live, else
    /// on the root.
    void setTree(std::shared_ptr<const brantle::FileTree> tree,
                 const std::optional<std::string>& focusPath);
    /// The focus's path, when there is a tree.
    std::optional<std::string> focusPath() const;
    /// Focuses a live node of the tree; false when it is the focus already or not such a node.
    bool setFocus(brantle::NodeId node);
    /// Lays the ring out afresh. `wholeDisk` is the volume a startup-disk tree stands for:
    /// at the root its hidden and purgeable space show beside the tree's own slices.
    void relayout(const std::optional<brantle::VolumeInfo>& wholeDisk);
    /// Gives each node's slice the colour of `kindOf` its node (a folder's largest kind) in
    /// place of its branch's, until the next layout.
    void colourByKind(const std::function<brantle::FileKind(brantle::NodeId)>& kindOf);

    /// Node ids from the root to the focus, root first.
    std::vector<brantle::NodeId> breadcrumbs() const;
    /// The focus's children, largest first.
    std::vector<brantle::NodeId> listItems() const;
    /// Bytes of a slice kind.
    std::uint64_t size(const Kind& kind) const;
    /// Display text of a slice kind; the root shows `rootTitle`.
    QString label(const Kind& kind, const QString& rootTitle) const;
    /// The folder a click on a slice of `kind` focuses, or none.
    std::optional<brantle::NodeId> folderOf(const Kind& kind) const;
    /// The focus's share of the root, at least 0.02 (0 when the root is empty); 0 without a
    /// tree.
    double focusShare() const;

private:
    std::shared_ptr<const brantle::FileTree> tree_;
    brantle::NodeId focus_ = brantle::FileTree::root;
    std::vector<ringkit::RingSegment> segments_;
    int layoutID_ = 0;
};

} // namespace ambrel

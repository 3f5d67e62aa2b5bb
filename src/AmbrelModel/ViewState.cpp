#include "AmbrelModel/ViewState.hpp"

#include "RingKit/RingLayout.hpp"

#include <QLocale>

#include <algorithm>

namespace ambrel {

void ViewState::setTree(std::shared_ptr<const brantle::FileTree> tree,
                        const std::optional<std::string>& focusPath) {
    tree_ = std::move(tree);
    focus_ = brantle::FileTree::root;
    if (!tree_ || !focusPath) return;
    const auto node = tree_->node(*focusPath);
    if (node && !tree_->isDead(*node)) focus_ = *node;
}

std::optional<std::string> ViewState::focusPath() const {
    if (!tree_) return std::nullopt;
    return tree_->path(focus_);
}

bool ViewState::setFocus(brantle::NodeId node) {
    if (!tree_ || node == focus_ || node >= tree_->count() || tree_->isDead(node)) return false;
    focus_ = node;
    return true;
}

void ViewState::relayout(const std::optional<brantle::VolumeInfo>& wholeDisk) {
    segments_.clear();
    if (tree_) {
        std::vector<ringkit::RingExtra> extras;
        if (wholeDisk && focus_ == brantle::FileTree::root) {
            const auto purgeable = wholeDisk->purgeable();
            // The purgeable figure is the volume's own; the hidden share leaves it out.
            const auto hidden = wholeDisk->hidden(tree_->size(brantle::FileTree::root) + purgeable);
            if (hidden > 0) extras.push_back({Kind::hidden(), hidden});
            if (purgeable > 0) extras.push_back({Kind::purgeable(), purgeable});
        }
        segments_ = ringkit::RingLayout::layout(*tree_, focus_, maxDepth,
                                                ringkit::RingLayout::defaultMinAngle, extras);
    }
    ++layoutID_;
}

void ViewState::colourByKind(const std::function<brantle::FileKind(brantle::NodeId)>& kindOf) {
    for (auto& segment : segments_)
        if (segment.kind.isNode()) segment.kindHue = static_cast<int>(kindOf(segment.kind.id));
}

std::vector<brantle::NodeId> ViewState::breadcrumbs() const {
    std::vector<brantle::NodeId> out;
    if (!tree_) return out;
    for (auto node = focus_; node != brantle::FileTree::none; node = tree_->parent(node)) {
        out.push_back(node);
        if (node == brantle::FileTree::root) break;
    }
    std::ranges::reverse(out);
    return out;
}

std::vector<brantle::NodeId> ViewState::listItems() const {
    if (!tree_) return {};
    return tree_->childrenBySize(focus_);
}

std::uint64_t ViewState::size(const Kind& kind) const {
    if (kind.isNode()) return tree_ && kind.id < tree_->count() ? tree_->size(kind.id) : 0;
    const auto found = std::ranges::find(segments_, kind, &ringkit::RingSegment::kind);
    return found == segments_.end() ? 0 : found->bytes;
}

QString ViewState::label(const Kind& kind, const QString& rootTitle) const {
    switch (kind.type) {
    case Kind::Type::node:
        if (kind.id == brantle::FileTree::root) return rootTitle;
        return tree_ && kind.id < tree_->count() ? QString::fromStdString(tree_->name(kind.id))
                                                 : QString();
    case Kind::Type::smaller:
        return QLocale().toString(kind.count) + QStringLiteral(" smaller items");
    case Kind::Type::hidden:
        return QStringLiteral("Hidden & system space");
    case Kind::Type::purgeable:
        return QStringLiteral("Purgeable (macOS frees this itself)");
    }
    return {};
}

std::optional<brantle::NodeId> ViewState::folderOf(const Kind& kind) const {
    if (!tree_ || !kind.isNode() || kind.id >= tree_->count() ||
        !tree_->flags(kind.id).contains(brantle::NodeFlags::directory))
        return std::nullopt;
    return kind.id;
}

double ViewState::focusShare() const {
    if (!tree_) return 0;
    const auto root = tree_->size(brantle::FileTree::root);
    if (root == 0) return 0;
    return std::clamp(static_cast<double>(tree_->size(focus_)) / static_cast<double>(root), 0.02,
                      1.0);
}

} // namespace ambrel

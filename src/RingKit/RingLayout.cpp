#include "RingKit/RingLayout.hpp"

#include "BrantleCore/Fatal.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ringkit {

using brantle::FileTree;
using brantle::NodeFlags;

namespace {

constexpr double fullTurn = 2 * std::numbers::pi;

std::uint64_t checkedTotal(const FileTree& tree, NodeId focus, std::span<const RingExtra> extras) {
    std::uint64_t total = tree.size(focus);
    for (const auto& extra : extras) {
        if (__builtin_add_overflow(total, extra.bytes, &total))
            brantle::fatal("ring layout: focus and extras overflow 64 bits");
    }
    return total;
}

// One folder whose children are being placed. Its wide children (those that get a slice of
// their own) sit in the shared scratch buffer from `first` on; the narrow ones were summed
// up front, because they only ever feed the folder's `smaller` slice.
struct Level {
    NodeId parent;
    int depth;
    int branch; // −1: first ring, each child is its own branch
    double cursor;
    double perByte; // this folder's arc over its children's bytes
    std::size_t first;
    std::size_t count;
    std::size_t next = 0;
    std::uint64_t smallBytes = 0;
    std::int32_t smallCount = 0;
};

// Places folders iteratively (an explicit stack, so deep trees cannot exhaust the call stack).
// Sorting only the wide children is exact: every wide child is at least as big as every
// narrow one, so the wide children are a prefix of the full stable by-size order and keep
// their positions (the first ring's branch numbers) in it.
class Placer {
public:
    Placer(const FileTree& tree, int maxDepth, double minAngle, double perByte,
           std::vector<RingSegment>& out)
        : tree_(tree), maxDepth_(maxDepth), minAngle_(minAngle), perByte_(perByte), out_(out) {}

    /// Places the focus's children as ring 1 from angle 0 and returns where they stop.
    double placeRing1(NodeId focus) {
        push(focus, 1, -1, 0.0, perByte_);
        while (!levels_.empty())
            step();
        return ring1End_;
    }

private:
    // A folder's own blocks (Linux) are nothing one could pick or remove, so its children
    // share the folder's whole arc in proportion to their sizes instead of leaving a sliver
    // of it empty. Which children get a slice of their own is decided at the parent's scale.
    static double childScale(double parentPerByte, std::uint64_t folderBytes,
                             std::uint64_t childBytes) {
        if (childBytes == 0 || childBytes >= folderBytes) return parentPerByte;
        return parentPerByte * (static_cast<double>(folderBytes) / static_cast<double>(childBytes));
    }

    void push(NodeId parent, int depth, int branch, double start, double parentPerByte) {
        Level level{parent, depth, branch, start, parentPerByte, wide_.size(), 0};
        std::uint64_t childBytes = 0;
        for (NodeId child = tree_.firstChild(parent); child != FileTree::none;
             child = tree_.nextSibling(child)) {
            const std::uint64_t bytes = tree_.size(child);
            if (bytes == 0) continue;
            if (__builtin_add_overflow(childBytes, bytes, &childBytes)) childBytes = UINT64_MAX;
            if (parentPerByte * static_cast<double>(bytes) < minAngle_) {
                level.smallBytes += bytes;
                ++level.smallCount;
            } else {
                wide_.push_back(child);
            }
        }
        level.perByte = childScale(parentPerByte, tree_.size(parent), childBytes);
        level.count = wide_.size() - level.first;
        const auto sizes = tree_.columns().sizes.data();
        std::stable_sort(wide_.begin() + static_cast<std::ptrdiff_t>(level.first), wide_.end(),
                         [sizes](NodeId a, NodeId b) { return sizes[a] > sizes[b]; });
        levels_.push_back(level);
    }

    void step() {
        Level& level = levels_.back();
        if (level.next == level.count) {
            finish(level);
            return;
        }
        const std::size_t position = level.next++;
        const NodeId child = wide_[level.first + position];
        const std::uint64_t bytes = tree_.size(child);
        const int branch = level.branch < 0 ? static_cast<int>(position) : level.branch;
        const double start = level.cursor;
        level.cursor = start + level.perByte * static_cast<double>(bytes);
        out_.push_back(
            {RingSegment::Kind::node(child), level.depth, start, level.cursor, bytes, branch});
        if (level.depth < maxDepth_ && tree_.flags(child).contains(NodeFlags::directory))
            push(child, level.depth + 1, branch, start, level.perByte);
    }

    void finish(Level& level) {
        if (level.smallBytes != 0) {
            const double start = level.cursor;
            level.cursor = start + level.perByte * static_cast<double>(level.smallBytes);
            out_.push_back({RingSegment::Kind::smaller(level.parent, level.smallCount), level.depth,
                            start, level.cursor, level.smallBytes, -1});
        }
        wide_.resize(level.first);
        if (levels_.size() == 1) ring1End_ = level.cursor;
        levels_.pop_back();
    }

    const FileTree& tree_;
    int maxDepth_;
    double minAngle_;
    double perByte_;
    std::vector<RingSegment>& out_;
    std::vector<Level> levels_;
    std::vector<NodeId> wide_;
    double ring1End_ = 0;
};

} // namespace

std::vector<RingSegment> RingLayout::layout(const FileTree& tree, NodeId focus, int maxDepth,
                                            double minAngle, std::span<const RingExtra> extras) {
    std::vector<RingSegment> out;
    if (tree.count() == 0) return out;
    const std::uint64_t total = checkedTotal(tree, focus, extras);
    if (total == 0) return out;
    out.reserve(2048);
    const double perByte = fullTurn / static_cast<double>(total);
    double cursor = Placer(tree, maxDepth, minAngle, perByte, out).placeRing1(focus);
    for (const auto& extra : extras) {
        if (extra.bytes == 0) continue;
        const double start = cursor;
        cursor = start + perByte * static_cast<double>(extra.bytes);
        out.push_back({extra.kind, 1, start, cursor, extra.bytes, -1});
    }
    return out;
}

double RingLayout::angle(double x, double y) {
    const double a = std::atan2(y, x);
    return a < 0 ? a + fullTurn : a;
}

Hit RingLayout::hitTest(std::span<const RingSegment> segments, const RingGeometry& geometry,
                        double x, double y) {
    const double r = std::sqrt(x * x + y * y);
    if (r < geometry.centerRadius) return Hit::center();
    if (!(r <= geometry.outerRadius) || geometry.maxDepth < 1) return Hit::none();
    const double rings = std::floor((r - geometry.centerRadius) / geometry.ringWidth());
    const int ring = static_cast<int>(std::min(rings + 1, static_cast<double>(geometry.maxDepth)));
    const double a = angle(x, y);
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const RingSegment& s = segments[i];
        if (s.depth == ring && s.start <= a && a < s.end) return Hit::segment(i);
    }
    return Hit::none();
}

} // namespace ringkit

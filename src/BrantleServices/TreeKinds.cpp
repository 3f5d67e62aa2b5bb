#include "BrantleServices/TreeKinds.hpp"

#include <algorithm>
#include <string_view>

namespace brantle {

namespace {

FileKind dominant(const KindSizes& sizes) {
    const auto largest = std::ranges::max_element(sizes);
    if (*largest == 0) return FileKind::other;
    return static_cast<FileKind>(largest - sizes.begin());
}

} // namespace

TreeKinds TreeKinds::of(const FileTree& tree, KindClassifier& classifier) {
    const auto& columns = tree.columns();
    const std::size_t count = tree.count();
    TreeKinds out;
    out.kinds_.assign(count, FileKind::other);
    out.folderSlots_.assign(count, noSlot);
    for (std::size_t id = 0; id < count; ++id) {
        if (NodeFlags(columns.flagBits[id]).contains(NodeFlags::directory)) {
            out.folderSlots_[id] = static_cast<std::uint32_t>(out.folderSizes_.size());
            out.folderSizes_.push_back({});
        } else {
            out.kinds_[id] = classifier.kindOf(
                {columns.names.data() + columns.nameOffsets[id], columns.nameLengths[id]});
        }
    }
    // Backwards, so each folder is complete before it is added to its parent. A dead node's
    // descendants still name it as parent, and stop there.
    for (std::size_t id = count; id-- > 1;) {
        const NodeFlags flags(columns.flagBits[id]);
        const NodeId parent = columns.parents[id];
        if (flags.contains(NodeFlags::dead) || parent >= id) continue;
        const auto parentSlot = out.folderSlots_[parent];
        if (parentSlot == noSlot) continue;
        auto& into = out.folderSizes_[parentSlot];
        if (const auto slot = out.folderSlots_[id]; slot != noSlot) {
            const auto& from = out.folderSizes_[slot];
            for (std::size_t kind = 0; kind < fileKindCount; ++kind)
                into[kind] += from[kind];
        } else {
            into[static_cast<std::size_t>(out.kinds_[id])] += columns.sizes[id];
        }
    }
    for (std::size_t id = 0; id < count; ++id)
        if (const auto slot = out.folderSlots_[id]; slot != noSlot)
            out.kinds_[id] = dominant(out.folderSizes_[slot]);
    return out;
}

KindSizes TreeKinds::sizes(NodeId node) const {
    if (node >= folderSlots_.size() || folderSlots_[node] == noSlot) return {};
    return folderSizes_[folderSlots_[node]];
}

FileKind TreeKinds::kindOf(NodeId node) const {
    return node < kinds_.size() ? kinds_[node] : FileKind::other;
}

} // namespace brantle

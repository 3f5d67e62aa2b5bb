// Any bytes given to the snapshot decoder come back as a tree or an error value, never a
// crash; a tree it accepts stands up to the operations a loaded snapshot goes through.
#include "BrantleCore/Snapshot.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto decoded = brantle::Snapshot::decode(std::span(data, size));
    if (!decoded) {
        (void)brantle::describe(decoded.error());
        return 0;
    }
    brantle::FileTree& tree = decoded->tree;
    if (tree.count() == 0) return 0;
    const brantle::NodeId last = static_cast<brantle::NodeId>(tree.count() - 1);
    (void)tree.path(last);
    (void)tree.childrenBySize(brantle::FileTree::root);
    (void)tree.node(tree.path(last));
    // What is accepted comes back whole, totals and all, from its own encoding.
    const auto again = brantle::Snapshot::decode(brantle::Snapshot::encode(tree, decoded->meta));
    if (!again || again->tree.size(brantle::FileTree::root) != tree.size(brantle::FileTree::root))
        __builtin_trap();
    // A catch-up's round: own sizes, removals, propagation again.
    tree.toOwnSizes();
    tree.detach(last);
    tree.propagateSizes();
    tree.remove(last);
    tree.removeChildren(brantle::FileTree::root);
    return 0;
}

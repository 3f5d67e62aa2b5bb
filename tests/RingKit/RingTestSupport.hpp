#pragma once

// Hand-built trees for the ring tests, and readable printing of ring records.
#include "BrantleCore/FileTree.hpp"
#include "RingKit/RingSegment.hpp"

#include <ostream>

#include <cstdint>
#include <string>

namespace ringkit::testing {

inline brantle::NodeId folder(brantle::FileTree& tree, brantle::NodeId parent,
                              const std::string& name) {
    return tree.append(parent, name, 0, 0, 0, brantle::NodeFlags::directory);
}

inline brantle::NodeId file(brantle::FileTree& tree, brantle::NodeId parent,
                            const std::string& name, std::uint64_t bytes) {
    return tree.append(parent, name, bytes, 0, 0, brantle::NodeFlags{});
}

} // namespace ringkit::testing

namespace ringkit {

// Readable failure messages for the ring's records.
inline void PrintTo(const RingSegment::Kind& kind, std::ostream* out) {
    static constexpr const char* names[] = {"node", "smaller", "hidden", "purgeable"};
    *out << names[static_cast<int>(kind.type)] << '(' << kind.id << ", " << kind.count << ')';
}

inline void PrintTo(const RingSegment& s, std::ostream* out) {
    PrintTo(s.kind, out);
    *out << " depth " << s.depth << " [" << s.start << ", " << s.end << ") bytes " << s.bytes
         << " branch " << s.branch;
}

} // namespace ringkit

#pragma once

#include "BrantleCore/FileTree.hpp"
#include "BrantleServices/GuardVerdict.hpp"
#include "Shoreline/Safety.hpp"

#include <cstdint>
#include <string>

namespace shoreline {

/// What a rule proposes: a node of the tree, how safe removing it is, and why.
struct Candidate {
    brantle::NodeId node = brantle::FileTree::none;
    Safety safety = Safety::review;
    std::string reason;

    bool operator==(const Candidate&) const = default;
};

/// A candidate the engine accepted; identified by its path.
struct Finding {
    /// The node's path with its names as stored: the one judged and removed.
    std::string path;
    /// The same with invalid UTF-8 repaired, for display only: two raw names can repair to
    /// one, so nothing may act on it.
    std::string displayPath;
    std::string name;
    std::uint64_t bytes = 0;
    Safety safety = Safety::review;
    std::string reason;
    /// The deletion guard's removal for `path`, used as-is by the removal flow.
    brantle::GuardedRemoval removal;

    const std::string& id() const { return path; }
    bool operator==(const Finding&) const = default;
};

} // namespace shoreline

#pragma once

#include "Shoreline/Finding.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace shoreline {

/// One rule's result: its texts and its findings, largest first.
struct ShorelineCategory {
    std::string id;
    std::string title;
    std::string symbol;
    std::string blurb;
    std::vector<Finding> findings;

    /// Bytes of every finding; an overflow is fatal.
    std::uint64_t total() const;
    /// Bytes of the findings rated `safe`.
    std::uint64_t safeTotal() const;

    bool operator==(const ShorelineCategory&) const = default;
};

} // namespace shoreline

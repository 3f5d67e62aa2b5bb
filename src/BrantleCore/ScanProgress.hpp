#pragma once

#include <chrono>
#include <cstdint>

namespace brantle {

/// A scan's figures so far, handed to the progress callback.
struct ScanProgress {
    std::int64_t files = 0;             ///< entries added to the tree (files and folders)
    std::uint64_t bytes = 0;            ///< sum of the sizes stored for them
    std::chrono::nanoseconds elapsed{}; ///< since the scan started, on a monotonic clock
};

} // namespace brantle

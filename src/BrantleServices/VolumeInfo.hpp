#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

namespace brantle {

/// A volume's capacity figures in bytes.
struct VolumeInfo {
    std::uint64_t total = 0;
    std::uint64_t available = 0;
    /// Available space including what the system could purge on demand; equals `available`
    /// where the platform has no such figure (Linux).
    std::uint64_t availableForImportantUsages = 0;

    /// The figures of the volume holding `path`, or no value when it cannot be read.
    static std::optional<VolumeInfo> containing(const std::string& path);
    /// Applies the capacity rules to raw figures: no value without total or available; a
    /// missing important-usage figure becomes `available`, a negative one 0. Negative total
    /// or available figures are fatal.
    static std::optional<VolumeInfo> fromCapacities(std::optional<std::int64_t> total,
                                                    std::optional<std::int64_t> available,
                                                    std::optional<std::int64_t> important);

    /// Bytes in use: total minus available, never below 0.
    std::uint64_t used() const { return total - std::min(total, available); }
    /// Space the system could free on demand beyond `available`.
    std::uint64_t purgeable() const {
        return availableForImportantUsages > available ? availableForImportantUsages - available
                                                       : 0;
    }
    /// The part of the used space that a scan of `scanned` bytes did not reach.
    std::uint64_t hidden(std::uint64_t scanned) const {
        return used() > scanned ? used() - scanned : 0;
    }

    friend bool operator==(const VolumeInfo&, const VolumeInfo&) = default;
};

} // namespace brantle

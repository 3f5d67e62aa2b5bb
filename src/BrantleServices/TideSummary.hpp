#pragma once

#include "BrantleServices/VolumeInfo.hpp"

#include <QByteArray>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace brantle {

class FileTree;

/// One day's usage record: the volume's figures and the sizes of the larger folders.
struct TideSummary {
    /// The moment described, in seconds since 1970-01-01 00:00:00 UTC.
    double date = 0;
    std::uint64_t volumeTotal = 0;
    std::uint64_t volumeUsed = 0;
    std::uint64_t purgeable = 0;
    /// Absolute folder path to allocated bytes.
    std::map<std::string, std::uint64_t> folders;

    /// A summary of a finished scan: every folder under `roots`, down to `maxDepth` levels
    /// below a root, of at least `minBytes`; the walk does not enter a folder left out.
    /// Volume figures are 0 when `volume` is unknown.
    static TideSummary make(const FileTree& tree, const std::vector<std::string>& roots,
                            const std::optional<VolumeInfo>& volume, double date,
                            std::uint64_t minBytes, int maxDepth);

    /// The summary file's bytes: one compact JSON object, "date" in seconds since 1970.
    QByteArray toJson() const;
    /// Decodes a summary file; no value when anything is missing or of the wrong type.
    static std::optional<TideSummary> fromJson(const QByteArray& json);

    friend bool operator==(const TideSummary&, const TideSummary&) = default;
};

} // namespace brantle

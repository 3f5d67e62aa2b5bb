#pragma once

#include "BrantleCore/FileTree.hpp"

#include <QJsonObject>

#include <cstdint>

namespace brantle::cli {

/// The totals that `scan`, `snapshot` and `catch-up` print for a tree.
struct TreeTotals {
    std::int64_t liveNodes = 0;
    std::int64_t unreadable = 0;
    std::int64_t mountPoints = 0;
    std::int64_t hardlinkDuplicates = 0;
    std::uint64_t bytes = 0; ///< the root's size
};

TreeTotals totalsOf(const FileTree& tree);

/// The JSON keys shared by those commands: root, nodes (live), files, bytes, unreadable,
/// mountPoints, hardlinkDuplicates and largest (the root's ten biggest children).
QJsonObject totalsJson(const FileTree& tree, std::int64_t files);

/// "SIZE in N items" followed by `tail`, then the flag counts and the largest children.
void printTotals(const FileTree& tree, std::int64_t files, const char* tail);

/// The object as indented JSON on standard output.
void printJson(const QJsonObject& object);

/// Seconds since 1970 as a calendar time in UTC, "YYYY-MM-DD HH:MM:SS UTC".
std::string utcTime(double seconds);

} // namespace brantle::cli

#pragma once

#include "BrantleServices/Growth.hpp"
#include "BrantleServices/TideSummary.hpp"

#include <QString>
#include <QVariantList>

#include <vector>

/// What the History pane shows of the stored daily summaries, as values QML reads.
namespace ambrel::HistoryView {

/// One point per summary, oldest first: "date" (milliseconds since 1970), "used" and "total"
/// (bytes).
QVariantList usage(const std::vector<brantle::TideSummary>& history);

/// The folders that grew, largest first, at most `limit`: "path" (home as "~"), "name",
/// "bytes", "sizeText" and "share" (of the largest growth, for the bar). Shrunk folders are
/// left out.
QVariantList growthRows(const std::vector<brantle::Growth>& growth, int limit);

/// The fill-up forecast in words: full in about N days, not filling, or too little history.
QString forecast(const std::vector<brantle::TideSummary>& history, double now);

} // namespace ambrel::HistoryView

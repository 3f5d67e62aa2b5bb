#include "AmbrelModel/HistoryView.hpp"

#include "BrantleCore/ByteFormat.hpp"
#include "BrantleServices/Locations.hpp"
#include "BrantleServices/TideHistory.hpp"

#include <QVariantMap>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace ambrel::HistoryView {

namespace {

QString homeRelative(const std::string& path) {
    const auto home = brantle::Locations::homeDirectory();
    if (path == home) return QStringLiteral("~");
    if (path.starts_with(home + "/"))
        return QStringLiteral("~") + QString::fromStdString(path.substr(home.size()));
    return QString::fromStdString(path);
}

/// Whether the forecast had enough to work with: three summaries of the last 14 days
/// spanning two days. Without it, "no forecast" says nothing about the trend.
bool enoughForForecast(const std::vector<brantle::TideSummary>& history, double now) {
    constexpr double window = 14 * brantle::TideHistory::secondsPerDay;
    std::vector<double> dates;
    for (const auto& summary : history)
        if (summary.date >= now - window && summary.volumeTotal != 0) dates.push_back(summary.date);
    return dates.size() >= 3 &&
           dates.back() - dates.front() >= 2 * brantle::TideHistory::secondsPerDay;
}

} // namespace

QVariantList usage(const std::vector<brantle::TideSummary>& history) {
    QVariantList points;
    for (const auto& summary : history) {
        if (summary.volumeTotal == 0) continue; // the volume was unknown that day
        points.append(QVariantMap{{"date", std::round(summary.date * 1000)},
                                  {"used", double(summary.volumeUsed)},
                                  {"total", double(summary.volumeTotal)}});
    }
    return points;
}

QVariantList growthRows(const std::vector<brantle::Growth>& growth, int limit) {
    QVariantList rows;
    const double largest =
        growth.empty() ? 0 : double(std::max<std::int64_t>(growth.front().bytes, 0));
    for (const auto& grown : growth) {
        if (rows.size() >= limit || grown.bytes <= 0) break;
        const auto bytes = static_cast<std::uint64_t>(grown.bytes);
        rows.append(QVariantMap{
            {"path", homeRelative(grown.path)},
            {"name", QString::fromStdString(std::filesystem::path(grown.path).filename().string())},
            {"bytes", double(bytes)},
            {"sizeText", QStringLiteral("+") + QString::fromStdString(brantle::formatBytes(bytes))},
            {"share", double(bytes) / largest}});
    }
    return rows;
}

QString forecast(const std::vector<brantle::TideSummary>& history, double now) {
    const auto days = brantle::TideHistory::forecastDaysToFull(history, now);
    if (days) {
        if (*days >= 3650)
            return QStringLiteral("At this rate the disk is full in more than ten years.");
        if (*days < 1) return QStringLiteral("At this rate the disk is full within a day.");
        const auto whole = static_cast<long long>(std::llround(*days));
        return whole == 1
                   ? QStringLiteral("At this rate the disk is full in about a day.")
                   : QStringLiteral("At this rate the disk is full in about %1 days.").arg(whole);
    }
    if (enoughForForecast(history, now))
        return QStringLiteral("The disk is not filling up: use held steady or fell over the "
                              "last two weeks.");
    return QStringLiteral("Not enough history for a forecast yet: Ambrel records a summary "
                          "each day it scans your home folder.");
}

} // namespace ambrel::HistoryView

#include "BrantleServices/TideHistory.hpp"

#include "BrantleServices/Locations.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <ranges>
#include <set>
#include <utility>

namespace brantle {

namespace {

// Far beyond any real summary, yet safely inside time_t and the calendar's year range.
constexpr double calendarLimit = 1e15;

std::optional<std::tm> localCalendar(double date) {
    if (!std::isfinite(date) || std::fabs(date) > calendarLimit) return std::nullopt;
    const auto seconds = static_cast<std::time_t>(std::floor(date));
    std::tm local{};
    if (localtime_r(&seconds, &local) == nullptr) return std::nullopt;
    return local;
}

/// The ISO 8601 (week-based year, week) of the date in the local time zone.
std::optional<std::pair<int, int>> isoWeek(double date) {
    const auto local = localCalendar(date);
    if (!local) return std::nullopt;
    std::array<char, 32> text{};
    if (std::strftime(text.data(), text.size(), "%G %V", &*local) == 0) return std::nullopt;
    int year = 0;
    int week = 0;
    if (std::sscanf(text.data(), "%d %d", &year, &week) != 2) return std::nullopt;
    return std::pair{year, week};
}

} // namespace

TideHistory TideHistory::standard() {
    return TideHistory(Locations::dataDirectory() + "/History");
}

std::optional<std::string> TideHistory::fileName(double date) {
    const auto local = localCalendar(date);
    if (!local) return std::nullopt;
    std::array<char, 64> name{};
    std::snprintf(name.data(), name.size(), "%04d-%02d-%02d.json", local->tm_year + 1900,
                  local->tm_mon + 1, local->tm_mday);
    return std::string(name.data());
}

std::expected<void, TideHistoryError> TideHistory::save(const TideSummary& summary) const {
    const auto name = fileName(summary.date);
    if (!name) return std::unexpected(TideHistoryError::notEncodable);
    const QString folder = QString::fromStdString(directory_);
    if (!QDir().mkpath(folder)) return std::unexpected(TideHistoryError::folderNotCreated);

    QSaveFile file(folder + '/' + QString::fromStdString(*name));
    if (!file.open(QIODevice::WriteOnly)) return std::unexpected(TideHistoryError::notWritten);
    const QByteArray bytes = summary.toJson();
    if (file.write(bytes) != bytes.size() || !file.commit())
        return std::unexpected(TideHistoryError::notWritten);
    return {};
}

std::vector<TideSummary> TideHistory::load() const {
    const QDir folder(QString::fromStdString(directory_));
    std::vector<TideSummary> summaries;
    for (const QFileInfo& info : folder.entryInfoList(QDir::Files | QDir::Hidden)) {
        if (info.suffix() != "json") continue;
        QFile file(info.filePath());
        if (!file.open(QIODevice::ReadOnly)) continue;
        if (auto summary = TideSummary::fromJson(file.readAll()))
            summaries.push_back(std::move(*summary));
    }
    std::ranges::stable_sort(summaries, {}, &TideSummary::date);
    return summaries;
}

void TideHistory::prune(double now) const {
    const std::vector<TideSummary> summaries = load();
    std::set<std::pair<int, int>> keptWeeks;
    for (const TideSummary& summary : std::views::reverse(summaries)) {
        const double ageDays = (now - summary.date) / secondsPerDay;
        if (ageDays < dailyDays) continue;
        if (ageDays <= keptDays) {
            const auto week = isoWeek(summary.date);
            if (!week || keptWeeks.insert(*week).second) continue;
        }
        if (const auto name = fileName(summary.date))
            QFile::remove(QString::fromStdString(directory_ + '/' + *name));
    }
}

std::optional<double> TideHistory::forecastDaysToFull(const std::vector<TideSummary>& history,
                                                      double now) {
    constexpr double windowSeconds = 14 * secondsPerDay;
    constexpr double minimumSpanSeconds = 2 * secondsPerDay;
    std::vector<const TideSummary*> kept;
    for (const TideSummary& summary : history) {
        if (now - summary.date <= windowSeconds && summary.volumeTotal != 0)
            kept.push_back(&summary);
    }
    if (kept.size() < 3) return std::nullopt;
    const TideSummary& first = *kept.front();
    const TideSummary& last = *kept.back();
    if (last.date - first.date < minimumSpanSeconds) return std::nullopt;

    const auto n = static_cast<double>(kept.size());
    double meanX = 0;
    double meanY = 0;
    for (const TideSummary* s : kept) {
        meanX += (s->date - first.date) / secondsPerDay;
        meanY += static_cast<double>(s->volumeUsed);
    }
    meanX /= n;
    meanY /= n;
    double sxx = 0;
    double sxy = 0;
    for (const TideSummary* s : kept) {
        const double dx = (s->date - first.date) / secondsPerDay - meanX;
        sxx += dx * dx;
        sxy += dx * (static_cast<double>(s->volumeUsed) - meanY);
    }
    if (!(sxx > 0)) return std::nullopt;
    const double bytesPerDay = sxy / sxx;
    if (!(bytesPerDay > 0)) return std::nullopt;
    const std::uint64_t free = last.volumeTotal - std::min(last.volumeTotal, last.volumeUsed);
    return static_cast<double>(free) / bytesPerDay;
}

} // namespace brantle

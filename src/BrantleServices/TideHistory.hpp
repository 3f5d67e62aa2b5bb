#pragma once

#include "BrantleServices/Growth.hpp"
#include "BrantleServices/TideSummary.hpp"

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

namespace brantle {

enum class TideHistoryError {
    folderNotCreated,
    notEncodable,
    notWritten,
};

/// The usage history: one summary file per local calendar day in one folder. Holds no state
/// beyond the folder; every call reads or writes it.
class TideHistory {
public:
    static constexpr double secondsPerDay = 86'400;
    static constexpr double dailyDays = 30;
    static constexpr double keptDays = 365;

    explicit TideHistory(std::string directory) : directory_(std::move(directory)) {}

    /// The history under the data folder ("Ambrel/History").
    static TideHistory standard();

    const std::string& directory() const { return directory_; }

    /// The day's file name, "YYYY-MM-DD.json" in the local time zone; no value for a date
    /// outside the calendar's range.
    static std::optional<std::string> fileName(double date);

    /// Writes the summary atomically to its day's file, replacing an earlier one of that day.
    std::expected<void, TideHistoryError> save(const TideSummary& summary) const;
    /// Every readable summary, oldest first; corrupt files are skipped and left in place.
    std::vector<TideSummary> load() const;
    /// Keeps every summary of the last 30 days, the newest of each ISO week up to 365 days
    /// back, and nothing older. Failures to remove are ignored.
    void prune(double now) const;

    /// Which folders grew by at least `minDelta` from `from` to `to`, largest first; a child
    /// explaining four fifths of its parent's growth is named instead of the parent.
    static std::vector<Growth> growth(const TideSummary& from, const TideSummary& to,
                                      std::int64_t minDelta);
    /// Days until the volume is full, from a straight line fitted to the last 14 days of
    /// `history` (oldest first); no value without three points spanning two days of growth.
    static std::optional<double> forecastDaysToFull(const std::vector<TideSummary>& history,
                                                    double now);

private:
    std::string directory_;
};

} // namespace brantle

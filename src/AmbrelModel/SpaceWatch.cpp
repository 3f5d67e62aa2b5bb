#include "AmbrelModel/SpaceWatch.hpp"

#include "AmbrelModel/AppModel.hpp"
#include "AmbrelModel/DesktopNotifications.hpp"
#include "AmbrelModel/Settings.hpp"
#include "BrantleCore/ByteFormat.hpp"
#include "BrantleServices/Locations.hpp"
#include "BrantleServices/TideAlerts.hpp"
#include "BrantleServices/TideHistory.hpp"

#include <QDateTime>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace ambrel {

namespace {

double nowSeconds() {
    return static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000;
}

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

QString switchOf(const brantle::TideAlert& alert) {
    constexpr const char* keys[] = {"alertLowSpace", "alertFillingFast", "alertBigGrowth"};
    return QString::fromLatin1(keys[alert.payload.index()]);
}

/// `path` with the home folder's part written "~".
QString homeRelative(const std::string& path) {
    const auto home = brantle::Locations::homeDirectory();
    if (path == home) return QStringLiteral("~");
    if (path.starts_with(home + "/")) return QStringLiteral("~") + text(path.substr(home.size()));
    return text(path);
}

struct Content {
    QString title, body, section;
};

Content contentOf(const brantle::TideAlert& alert) {
    using brantle::TideAlert;
    if (const auto* low = std::get_if<TideAlert::LowSpace>(&alert.payload))
        return {QStringLiteral("Your disk is nearly full"),
                QStringLiteral("Only ") + text(brantle::formatBytes(low->freeBytes)) +
                    QStringLiteral(" left. Suggestions can show you what's safe to remove."),
                QStringLiteral("shoreline")};
    if (const auto* fast = std::get_if<TideAlert::FillingFast>(&alert.payload))
        return {QStringLiteral("Your disk is filling up fast"),
                fast->days > 1 ? QStringLiteral("At this rate it will be full in about ") +
                                     QString::number(fast->days) + QStringLiteral(" days.")
                               : QStringLiteral("At this rate it will be full within a day."),
                QStringLiteral("history")};
    const auto& grown = std::get<TideAlert::BigGrowth>(alert.payload).growth;
    const auto bytes = static_cast<std::uint64_t>(std::max<std::int64_t>(grown.bytes, 0));
    return {text(std::filesystem::path(grown.path).filename().string()) +
                QStringLiteral(" grew by ") + text(brantle::formatBytes(bytes)) +
                QStringLiteral(" today"),
            homeRelative(grown.path), QStringLiteral("history")};
}

} // namespace

SpaceWatch::SpaceWatch(AppModel& model) : QObject(&model), model_(model) {
    rounds_.setInterval(roundInterval);
    rounds_.setTimerType(Qt::VeryCoarseTimer);
    connect(&rounds_, &QTimer::timeout, this, &SpaceWatch::round);
}

SpaceWatch::~SpaceWatch() {
    mountNotifier_.reset();
    if (mountInfo_ >= 0) ::close(mountInfo_);
}

void SpaceWatch::start() {
    if (started_) return;
    started_ = true;
    model_.history_ = brantle::TideHistory::standard().load();
    emit model_.historyChanged();
    // The tray shows the fullness from the start, not only after the first round.
    refreshStartupVolume();
    refreshTrashLedger();
    watchMounts();
    lastRefresh_ = std::chrono::steady_clock::now();
    rounds_.start();
}

void SpaceWatch::watchMounts() {
    // The kernel flags /proc/self/mountinfo with POLLPRI whenever the mount table changes.
    mountInfo_ = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
    if (mountInfo_ < 0) return;
    mountNotifier_ =
        std::make_unique<QSocketNotifier>(mountInfo_, QSocketNotifier::Exception, this);
    connect(mountNotifier_.get(), &QSocketNotifier::activated, this, [this] {
        // Reading the table to its end clears the flag until the next change.
        char buffer[4096];
        ::lseek(mountInfo_, 0, SEEK_SET);
        while (::read(mountInfo_, buffer, sizeof buffer) > 0) {
        }
        refreshStartupVolume();
    });
}

void SpaceWatch::setNotifications(DesktopNotifications* notifications) {
    if (notifications_) disconnect(notifications_, nullptr, this, nullptr);
    notifications_ = notifications;
    if (notifications)
        connect(notifications, &DesktopNotifications::clicked, this, &SpaceWatch::openRequested);
}

void SpaceWatch::refreshStartupVolume() {
    const auto volume = brantle::VolumeInfo::containing(watchedPath_);
    if (volume == model_.startupVolume_) return;
    model_.startupVolume_ = volume;
    emit model_.volumeChanged();
}

void SpaceWatch::refreshTrashLedger() {
    model_.refreshTrashLedger();
}

void SpaceWatch::round() {
    refreshStartupVolume();
    refreshTrashLedger();
    const auto now = std::chrono::steady_clock::now();
    if (model_.phase() == AppModel::Phase::Ready && now - lastRefresh_ > catchUpInterval) {
        lastRefresh_ = now;
        // Ends in finish, which records the day and evaluates the history-based alerts.
        model_.load(model_.target(), true);
        return;
    }
    evaluateAlerts(false);
}

void SpaceWatch::evaluateAlerts(bool historyBased) {
    if (!model_.startupVolume_) return;
    static const std::vector<brantle::TideSummary> none;
    const auto alerts = brantle::TideAlerts::evaluate(
        *model_.startupVolume_, historyBased ? model_.history_ : none, nowSeconds());
    for (const auto& alert : alerts)
        if (Settings::watchSwitch(switchOf(alert))) post(alert);
}

void SpaceWatch::post(const brantle::TideAlert& alert) {
    const auto now = QDateTime::currentDateTimeUtc();
    const auto last = Settings::lastAlert(alert.kind());
    if (last && last->secsTo(now) < alertQuiet.count()) return;
    Settings::setLastAlert(alert.kind(), now);
    if (!notifications_) return;
    const auto content = contentOf(alert);
    notifications_->post(text(std::string(alert.kind())), content.title, content.body,
                         content.section);
}

std::vector<brantle::Growth> SpaceWatch::growth(int days) const {
    const auto& history = model_.history_;
    if (history.size() < 2) return {};
    const double since = history.back().date - days * brantle::TideHistory::secondsPerDay;
    const auto from = std::ranges::find_if(
        history, [since](const brantle::TideSummary& summary) { return summary.date >= since; });
    if (from == history.end() || &*from == &history.back()) return {};
    return brantle::TideHistory::growth(*from, history.back(), 1);
}

std::vector<std::string> SpaceWatch::historyRoots(const brantle::FileTree& tree,
                                                  const std::string& home,
                                                  const brantle::PlatformProfile& profile) {
    if (!tree.node(home)) return {};
    std::vector<std::string> roots{home};
    for (const auto& folder : profile.applicationFolders)
        if (tree.node(folder)) roots.push_back(folder);
    return roots;
}

} // namespace ambrel

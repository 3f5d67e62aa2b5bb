#pragma once

#include "BrantleCore/FileTree.hpp"
#include "BrantleServices/Growth.hpp"
#include "BrantleServices/PlatformProfile.hpp"
#include "BrantleServices/TideAlert.hpp"

#include <QObject>
#include <QPointer>
#include <QSocketNotifier>
#include <QString>
#include <QTimer>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace ambrel {

class AppModel;
class DesktopNotifications;

/// Watches the startup disk while Ambrel runs, in the window or in the tray only: keeps its
/// free-space figures fresh, catches the shown tree up every 6 hours and posts notifications
/// when the disk is nearly full, filling fast or a folder grew much in a day. Main thread.
class SpaceWatch : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds roundInterval{300};
    static constexpr std::chrono::seconds catchUpInterval{21'600};
    static constexpr std::chrono::seconds alertQuiet{86'400};

    explicit SpaceWatch(AppModel& model);
    ~SpaceWatch() override;
    SpaceWatch(const SpaceWatch&) = delete;
    SpaceWatch& operator=(const SpaceWatch&) = delete;

    /// Loads the history, refreshes the trash ledger, follows mounts and starts the
    /// 5-minute rounds; once.
    void start();
    bool started() const { return started_; }
    /// One round: volume figures, trash ledger, then the 6-hourly catch-up or the alerts that
    /// need no history.
    void round();
    /// Posts the alerts that hold now and are switched on; with `historyBased` false the
    /// history is left out.
    void evaluateAlerts(bool historyBased);
    /// Posts one alert unless one of its kind went out less than a day ago.
    void post(const brantle::TideAlert& alert);
    /// Growth over the last `days` days of the history, largest first.
    std::vector<brantle::Growth> growth(int days) const;

    /// Where notifications go; none means alerts are only throttled and dropped.
    void setNotifications(DesktopNotifications* notifications);
    /// The path whose volume is watched, "/" unless a test chooses another.
    void setWatchedPath(std::string path) { watchedPath_ = std::move(path); }
    /// Re-reads the watched volume's figures into the model when they changed.
    void refreshStartupVolume();

    /// The folders the day's record lists: the home folder and the profile's application
    /// folders, each only when `tree` holds it; none (nothing is recorded) when the tree does
    /// not cover the home folder.
    static std::vector<std::string> historyRoots(const brantle::FileTree& tree,
                                                 const std::string& home,
                                                 const brantle::PlatformProfile& profile);

signals:
    /// A notification was clicked: show the window at its section.
    void openRequested(const QString& section);

private:
    void watchMounts();
    /// Reconciles the trash ledger with the Trash; whether the Trash can be opened decides
    /// what gone entries mean.
    void refreshTrashLedger();

    AppModel& model_;
    QPointer<DesktopNotifications> notifications_;
    std::string watchedPath_ = "/";
    bool started_ = false;
    QTimer rounds_;
    std::chrono::steady_clock::time_point lastRefresh_;
    std::unique_ptr<QSocketNotifier> mountNotifier_;
    int mountInfo_ = -1;
};

} // namespace ambrel

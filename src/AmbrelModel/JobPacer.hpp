#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

namespace ambrel {

/// Runs one kind of background work for the newest input only: one run at a time, and asks
/// that arrive meanwhile fold into a single next run. A paced ask also waits until `spacing`
/// has passed since the last run began, so a tree refreshed every second or two is worked
/// out again every few seconds, not at every refresh. Lives on the main thread.
class JobPacer : public QObject {
public:
    /// `start` begins a run on the main thread, reading the newest input; the run calls
    /// `finished` on the main thread once it has delivered or dropped its result.
    JobPacer(std::chrono::milliseconds spacing, std::function<void()> start,
             QObject* parent = nullptr);

    enum class Pace { soon, spaced };
    void request(Pace pace = Pace::soon);
    void finished();

private:
    void launchWhenDue();
    void launch();

    std::chrono::milliseconds spacing_;
    std::function<void()> start_;
    QTimer due_;
    QElapsedTimer sinceLaunch_;
    bool running_ = false;
    bool pending_ = false;
    bool spaced_ = false; ///< the pending run waits out the spacing
};

} // namespace ambrel

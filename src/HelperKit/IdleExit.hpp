#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>

namespace helperkit {

/// Ends the helper once nobody has asked it anything for a while: every check interval it
/// looks at the time of the last activity and, unless a scan is running, calls `exit` when
/// more than the idle limit has passed. The next request starts the helper again.
class IdleExit {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds checkInterval{15};

    /// Starts the timer; the limit counts from now. `exit` runs on the timer's thread (the
    /// helper ends the process there).
    IdleExit(std::chrono::duration<double> after, std::function<void()> exit,
             Clock::duration every = checkInterval);
    ~IdleExit();
    IdleExit(const IdleExit&) = delete;
    IdleExit& operator=(const IdleExit&) = delete;

    /// Marks activity now.
    void touch();
    /// A scan started: no exit until it ends.
    void scanStarted();
    /// A scan ended; marks activity.
    void scanEnded();

private:
    void run(std::stop_token stop);
    bool expired() const;

    Clock::duration after_;
    std::function<void()> exit_;
    Clock::duration every_;
    mutable std::mutex lock_;
    std::condition_variable_any tick_;
    Clock::time_point last_;
    int scans_ = 0;
    std::jthread timer_;
};

} // namespace helperkit

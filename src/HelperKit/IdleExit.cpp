#include "HelperKit/IdleExit.hpp"

namespace helperkit {

IdleExit::IdleExit(std::chrono::duration<double> after, std::function<void()> exit,
                   Clock::duration every)
    : after_(std::chrono::duration_cast<Clock::duration>(after)), exit_(std::move(exit)),
      every_(every), last_(Clock::now()) {
    timer_ = std::jthread([this](std::stop_token stop) { run(stop); });
}

IdleExit::~IdleExit() {
    timer_.request_stop();
    timer_.join();
}

void IdleExit::touch() {
    const std::lock_guard lock(lock_);
    last_ = Clock::now();
}

void IdleExit::scanStarted() {
    const std::lock_guard lock(lock_);
    ++scans_;
}

void IdleExit::scanEnded() {
    const std::lock_guard lock(lock_);
    --scans_;
    last_ = Clock::now();
}

bool IdleExit::expired() const {
    return scans_ == 0 && Clock::now() - last_ > after_;
}

void IdleExit::run(std::stop_token stop) {
    std::unique_lock lock(lock_);
    while (!stop.stop_requested()) {
        tick_.wait_for(lock, stop, every_, [] { return false; });
        if (stop.stop_requested()) return;
        if (expired()) {
            lock.unlock();
            exit_();
            return;
        }
    }
}

} // namespace helperkit

#include "AmbrelModel/JobPacer.hpp"

namespace ambrel {

JobPacer::JobPacer(std::chrono::milliseconds spacing, std::function<void()> start, QObject* parent)
    : QObject(parent), spacing_(spacing), start_(std::move(start)) {
    due_.setSingleShot(true);
    connect(&due_, &QTimer::timeout, this, &JobPacer::launchWhenDue);
}

void JobPacer::request(Pace pace) {
    // One urgent ask makes the pending run urgent; a paced ask never delays an urgent one.
    spaced_ = pending_ ? spaced_ && pace == Pace::spaced : pace == Pace::spaced;
    pending_ = true;
    launchWhenDue();
}

void JobPacer::finished() {
    running_ = false;
    launchWhenDue();
}

void JobPacer::launchWhenDue() {
    if (!pending_ || running_) return;
    if (spaced_ && sinceLaunch_.isValid()) {
        const auto waited = std::chrono::milliseconds(sinceLaunch_.elapsed());
        if (waited < spacing_) {
            if (!due_.isActive()) due_.start(spacing_ - waited);
            return;
        }
    }
    due_.stop();
    launch();
}

void JobPacer::launch() {
    pending_ = false;
    running_ = true;
    sinceLaunch_.start();
    start_();
}

} // namespace ambrel

// Background work paced to the newest input: real timers on the real event loop.
#include "ModelEnvironment.hpp"

#include "AmbrelModel/JobPacer.hpp"

#include <QElapsedTimer>

using ambrel::JobPacer;
using namespace std::chrono_literals;

namespace {

/// A pacer whose runs finish only when the test says so, counting how many began and when.
struct PacedRuns {
    JobPacer pacer{300ms, [this] { began.push_back(clock.elapsed()); }};
    std::vector<qint64> began;
    QElapsedTimer clock;

    PacedRuns() { clock.start(); }
    bool waitForRuns(std::size_t count, qint64 atMostMs = 3'000) {
        QElapsedTimer waited;
        waited.start();
        while (began.size() < count && waited.elapsed() < atMostMs)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
        return began.size() == count;
    }
};

} // namespace

TEST(JobPacer, AsksDuringARunFoldIntoOneMoreRun) {
    PacedRuns runs;
    runs.pacer.request();
    for (int i = 0; i < 5; ++i)
        runs.pacer.request();
    EXPECT_EQ(runs.began.size(), 1u) << "one run at a time";
    runs.pacer.finished();
    ASSERT_TRUE(runs.waitForRuns(2));
    runs.pacer.finished();
    EXPECT_FALSE(runs.waitForRuns(3, 600)) << "nothing was asked after the second run began";
}

TEST(JobPacer, SpacedAsksWaitButAnUrgentOneDoesNot) {
    PacedRuns runs;
    runs.pacer.request(JobPacer::Pace::spaced); // the first run has nothing to wait for
    runs.pacer.finished();
    runs.pacer.request(JobPacer::Pace::spaced);
    ASSERT_TRUE(runs.waitForRuns(2));
    EXPECT_GE(runs.began[1] - runs.began[0], 290);
    runs.pacer.finished();

    runs.pacer.request(JobPacer::Pace::spaced);
    runs.pacer.request(JobPacer::Pace::soon);
    ASSERT_TRUE(runs.waitForRuns(3));
    EXPECT_LT(runs.began[2] - runs.began[1], 290);
}

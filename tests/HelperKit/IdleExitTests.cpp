// The idle exit waits for the running scan, however long past the limit it ends.
#include "HelperKit/IdleExit.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace std::chrono_literals;

TEST(IdleExit, NeverEndsTheHelperDuringAScan) {
    std::atomic<int> exits = 0;
    helperkit::IdleExit idle(
        20ms, [&] { ++exits; }, 5ms);
    idle.scanStarted();
    std::this_thread::sleep_for(150ms);
    EXPECT_EQ(exits, 0);
    idle.scanEnded(); // counts as activity: the limit starts again
    std::this_thread::sleep_for(10ms);
    EXPECT_EQ(exits, 0);
    for (int i = 0; i < 100 && exits == 0; ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(exits, 1);
}

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>

#include "host/base/MainQueue.hpp"

namespace nimbrel {
namespace {

using namespace std::chrono_literals;

TEST(MainQueue, RunsWhatIsDueInOrderEachFollowedByTheTasksItQueued) {
  MainQueue queue;
  std::string order;
  const auto note = [&](char letter) { return [&order, letter] { order += letter; }; };
  queue.at(2s, note('d'));
  queue.at(1s, [&] {
    order += 'a';
    queue.async(note('b'));
    queue.at(0s, note('c'));  // late: it runs at once
  });
  queue.at(2s, note('e'));
  queue.at(2s + 1us, note('x'));
  queue.runUntil(2s);
  EXPECT_EQ(order, "abcde");
  EXPECT_EQ(queue.now(), 2s);
}

TEST(MainQueue, DrainsTasksThatTasksQueue) {
  MainQueue queue;
  int depth = 0;
  std::function<void()> again = [&] {
    if (++depth < 5) {
      queue.async(again);
      queue.drain();  // does nothing here
    }
  };
  queue.async(again);
  queue.drain();
  EXPECT_EQ(depth, 5);
}

TEST(MainQueue, StopsBetweenTasksAndKeepsTheTime) {
  MainQueue queue;
  queue.at(1s, [&] { queue.stop(); });
  queue.at(1s, [] { FAIL() << "runs after the stop"; });
  queue.runUntil(5s);
  EXPECT_EQ(queue.now(), 1s);
}

class RealTime : public ::testing::Test {
 protected:
  RealTime() { EXPECT_EQ(pipe(ends.data()), 0); }
  ~RealTime() override {
    close(ends[0]);
    close(ends[1]);
  }
  void write() { EXPECT_EQ(::write(ends[1], "x", 1), 1); }

  std::array<int, 2> ends{};
};

TEST_F(RealTime, WakesForADescriptorAndForAStop) {
  MainQueue queue(1.0);
  int slept = 0;
  queue.beforeSleeping([&] {
    ++slept;
    write();
  });
  queue.watch(ends[0], [&] { queue.stop(); });
  queue.runUntil(1h);
  EXPECT_LT(queue.now(), 30min);
  EXPECT_EQ(slept, 1);
}

TEST_F(RealTime, RunsTimersThoughADescriptorIsAlwaysReady) {
  MainQueue queue(1000.0);
  write();
  int woken = 0;
  queue.watch(ends[0], [&] { ++woken; });
  bool isDone = false;
  queue.at(1s, [&] { isDone = true; });
  queue.runUntil(2s);
  EXPECT_TRUE(isDone);
  EXPECT_GT(woken, 0);
}

}  // namespace
}  // namespace nimbrel

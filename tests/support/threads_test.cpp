#include "support/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace vellandra {
namespace {

int threadsToBeHad = 0;

class ThreadsTest : public testing::Test {
 protected:
  ThreadsTest() {
    startThread = [](std::function<void()> work) {
      if (--threadsToBeHad < 0)
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
      return std::thread(std::move(work));
    };
  }
  ~ThreadsTest() override { startThread = usual_; }

 private:
  decltype(startThread) usual_ = startThread;
};

TEST_F(ThreadsTest, EveryNumberIsDoneOnceWithAsManyThreadsAsThereAre) {
  for (const int toBeHad : {0, 1, 100}) {
    threadsToBeHad = toBeHad;
    std::vector<std::atomic<int>> times(1000);
    int told = 0;
    forEachNumber(
        1000, 4, [&](int number) { ++times[static_cast<std::size_t>(number)]; }, [&](int done) { told = done; });
    for (const std::atomic<int>& time : times) ASSERT_EQ(time, 1) << toBeHad;
    EXPECT_TRUE(told == 1000 || toBeHad > 0);
    EXPECT_EQ(threadsToBeHad, toBeHad == 100 ? 97 : -1);  // the caller is one of the four

    threadsToBeHad = toBeHad;
    Workers workers(4);
    EXPECT_EQ(workers.count(), static_cast<unsigned>(std::min(toBeHad, 4)));
    std::vector<std::future<int>> results;
    for (int i = 0; i < 20; ++i) results.push_back(workers.run([i] { return i * i; }));
    for (int i = 0; i < 20; ++i) EXPECT_EQ(results[static_cast<std::size_t>(i)].get(), i * i);
  }
}

TEST_F(ThreadsTest, WhatAnyThreadThrowsReachesTheCallerAndEndsTheWork) {
  for (const int toBeHad : {0, 1}) {
    threadsToBeHad = toBeHad;
    const std::thread::id caller = std::this_thread::get_id();
    std::atomic<int> begun = 0;
    std::atomic<bool> thrown = false;
    const auto work = [&](int) {
      ++begun;
      // The helper throws where there is one; the caller's thread waits for it, then goes on slowly, lest a helper that
      // is held up on its way out finds nothing left to end.
      if (toBeHad == 1 && std::this_thread::get_id() == caller) {
        do {
          std::this_thread::sleep_for(std::chrono::milliseconds(1));
        } while (!thrown);
        return;
      }
      thrown = true;
      throw std::runtime_error("thrown");
    };
    EXPECT_THROW(forEachNumber(1000, 2, work), std::runtime_error);
    EXPECT_LT(begun, 1000);

    threadsToBeHad = toBeHad;
    Workers workers(1);
    std::future<int> failing = workers.run([]() -> int { throw std::runtime_error("thrown"); });
    EXPECT_THROW(failing.get(), std::runtime_error);
    EXPECT_EQ(workers.run([] { return 5; }).get(), 5);
  }
  // A person's Cancel comes out of the progress.
  threadsToBeHad = 1;
  EXPECT_THROW(forEachNumber(
                   1000, 2, [](int) {}, [](int) { throw std::runtime_error("Cancelled"); }),
               std::runtime_error);
}

/// Goes behind everything that is made while the program runs, as the image on show does.
struct AtTheVeryEnd {
  ~AtTheVeryEnd() {
    if (looks) std::_Exit(startLeavable([] {}) ? 1 : 0);
  }
  bool looks = false;
} atTheVeryEnd;

TEST(Leavable, IsNotLeftBehindByTheProgram) {
  const auto end = [] {
    startLeavable([] { std::this_thread::sleep_for(std::chrono::milliseconds(50)); });
    atTheVeryEnd.looks = true;
    std::exit(2);
  };
  EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vellandra

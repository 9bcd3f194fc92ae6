#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "support/work.h"

namespace vellandra {

/// Threads worth starting for pixel work: one a core.
unsigned coreCount();

/// How a thread is started; throws when there is none to be had. Tests put another one here.
extern std::thread (*startThread)(std::function<void()> work);

/// Threads that work on tasks beside the caller's, and end with their owner.
class Workers {
 public:
  /// Up to `count` threads: fewer, or none, when there are no more to be had.
  explicit Workers(unsigned count);
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;
  /// Waits for the tasks that have begun; drops the others.
  ~Workers();

  unsigned count() const { return static_cast<unsigned>(threads_.size()); }

  /// Has `task` done, in the order of the calls: by a thread or, when there is none, by the caller when it asks for the
  /// result; as a part of the work that the caller has a part in. What `task` throws comes out of the future.
  template <typename Task>
  auto run(Task task) -> std::future<decltype(task())> {
    if (threads_.empty()) return std::async(std::launch::deferred, std::move(task));
    const auto packaged = std::make_shared<std::packaged_task<decltype(task())()>>(std::move(task));
    add([packaged, work = currentWork()] {
      const AtWork atWork(work);
      (*packaged)();
    });
    return packaged->get_future();
  }

 private:
  void add(std::function<void()> task);
  void work();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
  bool ending_ = false;
  std::vector<std::thread> threads_;
};

/// Starts `task` on a thread that nobody joins; the end of the program waits for it. False when there is no thread.
bool startLeavable(std::function<void()> task);

/// What a thread that may be left to itself sees of the work that it has a part in.
class LeavableWork : public Work {
 public:
  void show(std::int64_t done, std::int64_t total) override;
  /// To the work under way of the calling thread, which waits. Throws Cancelled when that is.
  void passOn();

 private:
  std::mutex mutex_;
  std::int64_t done_ = 0, total_ = 0;
};

/// Has `task` done, and does not wait for it any longer when the work under way is cancelled: for calls into libraries
/// and the system that nothing can end. It then goes on by itself, cancelled, so it has to own all that it works on.
template <typename Task>
auto leavable(Task task) -> decltype(task()) {
  if (currentWork() == nullptr) return task();
  auto packaged = std::make_shared<std::packaged_task<decltype(task())()>>(std::move(task));
  auto result = packaged->get_future();
  const auto work = std::make_shared<LeavableWork>();
  const bool started = startLeavable([packaged, work] {
    const AtWork atWork(work.get());
    (*packaged)();
  });
  if (started) {
    packaged.reset();
    constexpr std::chrono::milliseconds look{20};
    while (result.wait_for(look) != std::future_status::ready) work->passOn();
  } else {
    (*packaged)();
  }
  return result.get();
}

/// Calls `work` with each number from 0 to `count` - 1, in order of their beginning, on up to `threads` threads, of
/// which the caller's is one; `work` must not share anything that it changes between numbers. `progress`, called on the
/// caller's thread, gets how many of them are done. What either throws, and Cancelled when the work under way is, is
/// thrown again when all threads have stopped, which they do after the number they are at.
void forEachNumber(int count, unsigned threads, const std::function<void(int)>& work,
                   const std::function<void(int)>& progress = {});

}  // namespace vellandra

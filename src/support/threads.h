#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

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
  /// result. What `task` throws comes out of the future.
  template <typename Task>
  auto run(Task task) -> std::future<decltype(task())> {
    if (threads_.empty()) return std::async(std::launch::deferred, std::move(task));
    const auto packaged = std::make_shared<std::packaged_task<decltype(task())()>>(std::move(task));
    add([packaged] { (*packaged)(); });
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

/// Calls `work` with each number from 0 to `count` - 1, in order of their beginning, on up to `threads` threads, of
/// which the caller's is one; `work` must not share anything that it changes between numbers. `progress`, called on the
/// caller's thread, gets how many of them are done. What either throws is thrown again when all threads have stopped,
/// which they do after the number they are at.
void forEachNumber(int count, unsigned threads, const std::function<void(int)>& work,
                   const std::function<void(int)>& progress = {});

}  // namespace vellandra

#include "imaging/row_bands.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "support/user_interface.h"

namespace vellandra {
namespace {

/// The bands of one piece of work, handed out in order.
class Bands {
 public:
  Bands(int rows, int bandRows, const std::function<void(int, int)>& work)
      : rows_(rows), bandRows_(bandRows), work_(work) {}

  /// Works on the next band; false when there is none left.
  bool doNext() {
    const int first = next_.fetch_add(bandRows_);
    if (first >= rows_) return false;
    const int last = std::min(first + bandRows_, rows_);
    work_(first, last);
    done_ += last - first;
    return true;
  }

  void doAll() noexcept {
    try {
      while (doNext()) continue;
    } catch (...) {
      const std::lock_guard lock(failureMutex_);
      if (!failure_) failure_ = std::current_exception();
      stop();
    }
  }

  void stop() { next_ = rows_; }
  int done() const { return done_; }
  void rethrow() const {
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  const int rows_, bandRows_;
  const std::function<void(int, int)>& work_;
  std::atomic<int> next_ = 0, done_ = 0;
  std::mutex failureMutex_;
  std::exception_ptr failure_;
};

/// Threads that end with their owner, also when an exception ends it.
class Helpers {
 public:
  Helpers(Bands& bands, unsigned count) : bands_(bands) {
    try {
      threads_.reserve(count);
      for (unsigned i = 0; i < count; ++i) threads_.emplace_back([&bands] { bands.doAll(); });
    } catch (const std::system_error&) {
      return;  // the threads that there are do the work
    }
  }
  Helpers(const Helpers&) = delete;
  Helpers& operator=(const Helpers&) = delete;
  ~Helpers() {
    bands_.stop();
    join();
  }
  void join() {
    for (std::thread& thread : threads_) thread.join();
    threads_.clear();
  }

 private:
  Bands& bands_;
  std::vector<std::thread> threads_;
};

}  // namespace

unsigned coreCount() {
  return std::max(1U, std::thread::hardware_concurrency());
}

void forRowBands(int rows, int bandRows, unsigned threads, const std::function<void(int, int)>& work) {
  Bands bands(rows, bandRows, work);
  Helpers helpers(bands, std::max(1U, threads) - 1);
  while (bands.doNext()) {
    if (bands.done() < rows) userInterface().showProgress(bands.done(), rows);
  }
  helpers.join();
  bands.rethrow();
  userInterface().showProgress(rows, rows);
}

}  // namespace vellandra

#include "support/threads.h"

#include <algorithm>
#include <atomic>
#include <exception>

namespace vellandra {

std::thread (*startThread)(std::function<void()>) = [](std::function<void()> work) {
  return std::thread(std::move(work));
};

namespace {

/// Asked also by what the program gives back at its very end, when there is nobody left to wait for a thread.
constinit std::atomic<bool> programEnds = false;

/// The threads that were left to themselves.
class Leavables {
 public:
  ~Leavables() {
    std::unique_lock lock(mutex_);
    programEnds = true;
    ended_.wait(lock, [this] { return count_ == 0; });
  }
  void begin() {
    const std::lock_guard lock(mutex_);
    ++count_;
  }
  void end() {
    const std::lock_guard lock(mutex_);
    --count_;
    ended_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable ended_;
  int count_ = 0;
};

Leavables& leavables() {
  static Leavables threads;
  return threads;
}

}  // namespace

bool startLeavable(std::function<void()> task) {
  if (programEnds) return false;
  leavables().begin();
  try {
    startThread([task = std::move(task)]() mutable {
      task();
      task = nullptr;  // what it holds goes before the program can end
      leavables().end();
    }).detach();
  } catch (const std::exception&) {
    leavables().end();
    return false;
  }
  return true;
}

void LeavableWork::show(std::int64_t done, std::int64_t total) {
  const std::lock_guard lock(mutex_);
  done_ = done;
  total_ = total;
}

void LeavableWork::passOn() {
  if (vellandra::isCancelled()) {
    cancel();
    throw Cancelled();
  }
  const std::lock_guard lock(mutex_);
  if (total_ > 0) showProgress(done_, total_);
}

unsigned coreCount() {
  return std::max(1U, std::thread::hardware_concurrency());
}

Workers::Workers(unsigned count) {
  try {
    threads_.reserve(count);
    for (unsigned i = 0; i < count; ++i) threads_.push_back(startThread([this] { work(); }));
  } catch (const std::exception&) {
    return;  // the threads that there are do the work
  }
}

Workers::~Workers() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void Workers::add(std::function<void()> task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  wake_.notify_one();
}

void Workers::work() {
  std::unique_lock lock(mutex_);
  while (true) {
    wake_.wait(lock, [this] { return ending_ || !tasks_.empty(); });
    if (ending_) return;
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
    lock.lock();
  }
}

void forEachNumber(int count, unsigned threads, const std::function<void(int)>& work,
                   const std::function<void(int)>& progress) {
  std::atomic<int> next = 0, done = 0;
  const auto doNext = [&] {
    const int number = next.fetch_add(1);
    if (number >= count) return false;
    endIfCancelled();
    work(number);
    ++done;
    return true;
  };
  const auto doAll = [&](const std::function<void(int)>& tell) {
    try {
      while (doNext()) {
        if (tell) tell(done);
      }
    } catch (...) {
      next = count;
      throw;
    }
  };
  std::vector<std::future<void>> others;
  Workers workers(std::clamp(threads, 1U, static_cast<unsigned>(std::max(1, count))) - 1);
  for (unsigned i = 0; i < workers.count(); ++i) others.push_back(workers.run([&] { doAll({}); }));
  doAll(progress);
  for (std::future<void>& other : others) other.get();
}

}  // namespace vellandra

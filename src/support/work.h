#pragma once

#include <atomic>
#include <cstdint>
#include <exception>

namespace vellandra {

/// Ends a command that the person does not want any more. The command boundary says so on the panel.
class Cancelled : public std::exception {
 public:
  const char* what() const noexcept override { return "Cancelled"; }
};

/// A piece of work under way, between the threads that do it and the one where the person sees it and may end it.
class Work {
 public:
  Work() = default;
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  virtual ~Work() = default;

  /// `done` of `total` steps are done. Called from the threads that work.
  virtual void show(std::int64_t done, std::int64_t total) = 0;

  void cancel() {
    State running = State::running;
    state_.compare_exchange_strong(running, State::cancelled);
  }
  bool isCancelled() const { return state_ == State::cancelled; }
  /// From here on nobody can cancel it. False when somebody has.
  bool settle() {
    State running = State::running;
    return state_.compare_exchange_strong(running, State::settled) || running == State::settled;
  }

 private:
  enum class State { running, cancelled, settled };
  std::atomic<State> state_ = State::running;
};

/// The work that the calling thread has a part in; null where nobody waits for what it does.
Work* currentWork();

/// The calling thread has a part in `work` for as long as this lives.
class AtWork {
 public:
  explicit AtWork(Work* work);
  AtWork(const AtWork&) = delete;
  AtWork& operator=(const AtWork&) = delete;
  ~AtWork();

 private:
  Work* outer_;
};

// For those who work. Where there is no work under way, nothing is shown and nothing cancelled.

void showProgress(std::int64_t done, std::int64_t total);

bool isCancelled();

/// Throws Cancelled when the work under way is.
void endIfCancelled();

/// As above; from here on the work cannot be cancelled, and may change what cannot be undone.
void settleWork();

}  // namespace vellandra

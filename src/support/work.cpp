#include "support/work.h"

#include <utility>

namespace vellandra {
namespace {

Work*& current() {
  thread_local Work* work = nullptr;
  return work;
}

}  // namespace

Work* currentWork() {
  return current();
}

AtWork::AtWork(Work* work) : outer_(std::exchange(current(), work)) {}

AtWork::~AtWork() {
  current() = outer_;
}

void showProgress(std::int64_t done, std::int64_t total) {
  if (current() != nullptr) current()->show(done, total);
}

bool isCancelled() {
  return current() != nullptr && current()->isCancelled();
}

void endIfCancelled() {
  if (isCancelled()) throw Cancelled();
}

void settleWork() {
  if (current() != nullptr && !current()->settle()) throw Cancelled();
}

}  // namespace vellandra

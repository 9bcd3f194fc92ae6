#include "support/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

namespace vellandra {
namespace {

/// What the new program does not take over from this one.
class SpawnSettings {
 public:
  SpawnSettings() {
    ::posix_spawn_file_actions_init(&files_);
    ::posix_spawnattr_init(&attributes_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    ::posix_spawn_file_actions_destroy(&files_);
    ::posix_spawnattr_destroy(&attributes_);
  }

  bool detach() {
    sigset_t usual;
    ::sigemptyset(&usual);
    for (const int ignored : {SIGPIPE, SIGXFSZ}) ::sigaddset(&usual, ignored);
    const auto nowhere = [this](int descriptor, int mode) {
      return ::posix_spawn_file_actions_addopen(&files_, descriptor, "/dev/null", mode, 0) == 0;
    };
    return nowhere(STDIN_FILENO, O_RDONLY) && nowhere(STDOUT_FILENO, O_WRONLY) && nowhere(STDERR_FILENO, O_WRONLY) &&
           ::posix_spawnattr_setsigdefault(&attributes_, &usual) == 0 &&
           ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF) == 0;
  }

  const posix_spawn_file_actions_t* files() const { return &files_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t files_{};
  posix_spawnattr_t attributes_{};
};

/// A program that has ended stays in the system's table until its end has been taken notice of.
void noticeEnd(pid_t process, std::function<void(bool)> whenEnded) {
  try {
    std::thread([process, whenEnded = std::move(whenEnded)] {
      int status = 0;
      while (::waitpid(process, &status, 0) < 0 && errno == EINTR) continue;
      if (whenEnded) whenEnded(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }).detach();
  } catch (const std::system_error&) {
    return;  // no more threads: the entry goes when this program ends
  }
}

}  // namespace

bool startProgram(const std::vector<std::string>& arguments, std::function<void(bool succeeded)> whenEnded) {
  if (arguments.empty()) return false;
  SpawnSettings settings;
  if (!settings.detach()) return false;
  std::vector<std::string> own = arguments;   // the system's interface takes them as changeable
  std::vector<char*> vector(own.size() + 1);  // ends with a null pointer
  for (std::size_t i = 0; i < own.size(); ++i) vector[i] = own[i].data();
  pid_t process = 0;
  if (::posix_spawn(&process, vector[0], settings.files(), settings.attributes(), vector.data(), environ) != 0) {
    return false;
  }
  noticeEnd(process, std::move(whenEnded));
  return true;
}

}  // namespace vellandra

#include "calibration/log.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <memory>

namespace vellandra {
namespace {

constexpr const char* firstLine = "In the event of an error please send this file by e-mail to support@corvane.example";

struct CloseFile {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }  // NOLINT(cppcoreguidelines-owning-memory)
};

struct Log {
  std::unique_ptr<std::FILE, CloseFile> file;
  std::time_t stampTime = 0;
  std::string stamp;
};
Log log;

/// Short date and long time of the locale that the program was started in; made anew once a second.
const std::string& timeStamp() {
  const std::time_t now = std::time(nullptr);
  if (now != log.stampTime) {
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 128> text{};
    log.stamp.assign(text.data(), std::strftime(text.data(), text.size(), "%x %X:", &local));
    log.stampTime = now;
  }
  return log.stamp;
}

}  // namespace

bool openLog(const std::string& path) {
  log.file.reset(std::fopen(path.c_str(), "wbe"));  // NOLINT(cppcoreguidelines-owning-memory)
  if (!log.file) return false;
  writeLog(firstLine);
  flushLog();
  return true;
}

bool closeLog() {
  if (!log.file) return true;
  const bool failed = std::ferror(log.file.get()) != 0;
  return std::fclose(log.file.release()) == 0 && !failed;
}

void writeLog(std::string_view text) {
  if (!log.file) return;
  // A line that cannot be written is remembered by the stream and told when the log is closed.
  const std::string& stamp = timeStamp();
  (void)std::fwrite(stamp.data(), 1, stamp.size(), log.file.get());
  (void)std::fwrite(text.data(), 1, text.size(), log.file.get());
  (void)std::fwrite("\r\n", 1, 2, log.file.get());
}

void flushLog() {
  if (log.file) (void)std::fflush(log.file.get());
}

}  // namespace vellandra

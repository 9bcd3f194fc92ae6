#include "calibration/log.h"

#include <array>
#include <ctime>
#include <optional>
#include <string>
#include <utility>

#include "support/files.h"

namespace vellandra {
namespace {

constexpr const char* firstLine = "In the event of an error please send this file by e-mail to support@corvane.example";

constexpr std::size_t mostWaiting = 65536;  // bytes

struct Log {
  std::optional<GrowingFile> file;
  std::string waiting;  ///< lines that are not in the file yet
  std::uint64_t size = 0;
  bool failed = false;
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
  log.waiting.clear();
  log.size = 0;
  log.failed = false;
  // A new file each time: another run that has this log open goes on with its own.
  log.file.emplace(path);
  if (!*log.file) {
    log.file.reset();
    return false;
  }
  writeLog(firstLine);
  flushLog();
  return true;
}

bool closeLog() {
  flushLog();
  log.file.reset();
  return !std::exchange(log.failed, false);
}

void writeLog(std::string_view text) {
  if (!log.file) return;
  log.waiting.append(timeStamp()).append(text).append("\r\n");
  log.size += log.stamp.size() + text.size() + 2;
  if (log.waiting.size() > mostWaiting) flushLog();
}

void flushLog() {
  if (!log.file) return;
  if (!log.file->add(log.waiting)) log.failed = true;  // told when the log is closed
  log.waiting.clear();
}

std::uint64_t logSize() {
  return log.size;
}

}  // namespace vellandra

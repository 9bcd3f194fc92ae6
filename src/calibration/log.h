#pragma once

#include <string>
#include <string_view>

namespace vellandra {

/// Opens `path` as the log of this run, replacing an old one, and writes its first line. False when it cannot be
/// written; log lines are then dropped.
bool openLog(const std::string& path);

/// False when a line could not be written since the log was opened.
bool closeLog();

/// Adds a line: date and time in the form of the user's locale, ":", the text, CR LF.
void writeLog(std::string_view text);

/// Brings the lines so far to the file.
void flushLog();

}  // namespace vellandra

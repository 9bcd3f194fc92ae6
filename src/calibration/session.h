#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vellandra {

/// Opens the log and reads the preferences.
void startSession();

/// Asks about a calibration that is not written and preferences that are not saved, and closes the log. False when the
/// person wants to go on working.
bool endSession();

/// Closes the log; tells when a line of it could not be written.
void endLog();

/// Runs one command of the person's. What must not happen silently ends it here: "***** Error *****" and the
/// description go to the panel and the log, and the program goes on. A command that the person cancels ends with
/// "Cancelled". Returns what the command returned, false after either.
bool runCommand(const std::function<bool()>& command);

/// In a handler of exceptions: tells what was thrown as `runCommand` does.
void reportThrown();

/// What the arguments of the command line ask for.
struct CommandLine {
  enum class Task { help, window, batch, folder };
  Task task = Task::window;
  /// Of the map to open in the window, if any, of the calibration to convert, or of the folder whose calibrations are
  /// converted. Arguments are joined by single blanks, without one pair of surrounding quotes, and made absolute, so
  /// that the path means the same in the files that are written.
  std::string path;
};
CommandLine readCommandLine(const std::vector<std::string>& arguments);

/// What becomes of the preferences where the person located the datum table or matched a datum.
enum class Answers {
  kept,    ///< they are written: nobody asks at the end
  forNow,  ///< they hold until the program ends, which asks
};

/// Converts `path` and writes every output. Returns the exit status: 0 when the run came to its end, 1 when it stopped,
/// for the reason that is in `lastTold`.
int runBatch(const std::string& path, Answers answers = Answers::kept);

}  // namespace vellandra

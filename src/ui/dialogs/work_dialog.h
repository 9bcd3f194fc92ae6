#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "support/work.h"

class QWidget;

namespace vellandra {

/// Does `task`, a part of `work`, on a thread of its own, and returns when it is done; throws what it throws. Meanwhile
/// the windows live: all that belongs to one thread, such as the open map, the log and the panel, is the task's.
void doBeside(Work& work, const std::function<void()>& task);
/// Whether a task is under way there.
bool isWorkBeside();

/// For such a task: does `ask` in the thread of the windows, and returns when it is done; throws what it throws.
void doInWindows(const std::function<void()>& ask);

/// `done` of `total` steps; both 0 when it is over.
using ShowProgress = std::function<void(int done, int total)>;

/// Does `work` on a thread of its own and returns when it is done; throws what it throws, Cancelled when the person
/// ended it. Meanwhile the windows are drawn and take no other input than Cancel, Escape or the closing of a window,
/// which all end the work. When it takes longer than a moment, `title`, its progress and Cancel are shown over
/// `window`, from then on until `endWorkDisplay`: a command has often one piece of work behind the other.
void doWorkBeside(QWidget* window, const std::string& title, const std::function<void()>& work,
                  const ShowProgress& showProgress);

/// Takes the display away: at the end of a command, and before it asks something.
void endWorkDisplay();

/// How long work may take unseen.
extern std::chrono::milliseconds unseenWork;

}  // namespace vellandra

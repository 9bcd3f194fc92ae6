#pragma once

#include <chrono>
#include <functional>
#include <string>

class QWidget;

namespace vellandra {

/// `done` of `total` steps; both 0 when it is over.
using ShowProgress = std::function<void(int done, int total)>;

/// Does `work` on a thread of its own and returns when it is done; throws what it throws, Cancelled when the person
/// ended it. Meanwhile the windows are drawn and take no other input than Cancel, Escape or the closing of a window,
/// which all end the work. When it takes longer than a moment, `title`, its progress and Cancel are shown over
/// `window`, from then on until `endWorkDisplay`: a command has often one piece of work behind the other.
void doWorkBeside(QWidget* window, const std::string& title, const std::function<void()>& work,
                  const ShowProgress& showProgress);

/// Whether the windows take no input because of it.
bool isWorkUnderWay();

/// Takes the display away: at the end of a command, and before it asks something.
void endWorkDisplay();

/// How long work may take unseen.
extern std::chrono::milliseconds unseenWork;

}  // namespace vellandra

#pragma once

#include <string>

#include "support/user_interface.h"

class QWidget;

namespace vellandra {

/// Shows `picker` as an open dialog, or as a save dialog, which leaves the question about replacing a file to the
/// caller. Starts in the folder of the last choice. Returns the path; empty when cancelled.
std::string pickFile(QWidget* parent, const FilePicker& picker, bool save);

}  // namespace vellandra

#pragma once

#include <string>

#include "support/user_interface.h"

class QWidget;

namespace vellandra {

/// Shows `picker` as an open dialog, or as a save dialog, which leaves the question about replacing a file to the
/// caller. Opening starts in the folder of the last choice of its kind, saving beside the open map. Returns the path;
/// empty when cancelled.
std::string pickFile(QWidget* parent, const FilePicker& picker, bool save);

/// Asks for a folder; empty when cancelled.
std::string pickFolder(QWidget* parent, const std::string& title);

}  // namespace vellandra

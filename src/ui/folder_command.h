#pragma once

#include <string>

namespace vellandra {

class MainWindow;

/// "Convert a folder": asks for the folder, converts its calibrations and shows what became of each. The map that was
/// open is open again afterwards. False when nothing was converted.
bool convertFolder(MainWindow* window);
/// Without the question.
bool convertFolder(MainWindow* window, const std::string& folder);

}  // namespace vellandra

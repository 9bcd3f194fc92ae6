#pragma once

#include <string>
#include <string_view>

#include "calibration/journal.h"

namespace vellandra {

/// Writes `text` to the log and adds it as a line to the message panel.
void showMessage(std::string_view text);

/// Adds `text` as a line to the panel's text without showing it yet; the next `showPanel` brings it up.
void addToMessage(std::string_view text);

/// The lines that follow are about the map of the file `path`: parts them from those before, and names it.
void beginMapOnPanel(const std::string& path);

/// Shows the panel's text as it stands.
void showPanel();

/// To the log and the panel of the run.
const Journal& runJournal();

}  // namespace vellandra

#pragma once

class QWidget;

namespace vellandra {

/// Shows the preferences over `parent` and stores them on OK; a value that is not allowed is told and not stored.
/// False when cancelled.
bool editPreferences(QWidget* parent);

}  // namespace vellandra

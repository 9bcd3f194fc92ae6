#pragma once

#include <cstdint>
#include <string>

namespace vellandra {

/// The name of the last datum looked up, as it is shown.
extern std::string inputDatumName;

/// Fills the datum table from the file that the preferences name; when that is missing, from the one in the program's
/// folder, which the panel says. Without that either, the person is asked and the answer is kept; without one the table
/// stays empty.
void LoadDatums();

/// Looks `name` up in the datum table, in the shape of `datumColumnName`: a name matched by hand before is replaced by
/// its match, which the panel says, and for a name that is not in the table the person is asked and the answer is kept.
/// `index` is 0 when there is no match.
void finddatum(std::string& name, std::int16_t& index);

/// The same for a name as a file gives it, "WGS84" meaning "WGS 84"; sets `inputDatumName`. Returns the index.
int matchDatum(std::string_view name);

/// Asks for a datum of the table under `label`, without remembering the answer for other files. Returns the index or 0.
int askDatum(const std::string& label);

/// Names of the table that begin with the same word as `name`, as they are shown, parted by ", ".
std::string datumsLike(const std::string& name);

/// Row of the datum that a slot names (trimmed, as in `Calibration::datumName`); 0 when it is not in the table. Asks
/// nobody.
int datumIndexOf(const std::string& name);

/// Tells on the panel, once for each loaded table, when the row `index` does not hold what a shift needs.
void reportDoubtfulDatum(int index);

}  // namespace vellandra

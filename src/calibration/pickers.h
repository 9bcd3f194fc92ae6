#pragma once

#include <string>

namespace vellandra {

/// The file dialogs of the program; each returns the chosen path, empty when cancelled.
std::string getfile(const std::string& title);  ///< a calibration file
std::string getifile();                         ///< a map image
std::string getdfile();                         ///< the datum table
std::string get7file();                         ///< the 7-Zip program
/// Where to save an image, for a copy that of `copyOf`; ends in ".png".
std::string putpfile(const std::string& copyOf = {});

/// Asks for the datum table, or the 7-Zip program, and keeps the path in the preferences. False when cancelled.
bool locateDatumsFile();
bool locateSevenZip();

}  // namespace vellandra

#pragma once

#include <string>
#include <string_view>

namespace vellandra {

/// A path taken apart; both "\" and "/" separate on every platform.
struct PathParts {
  std::string folder;     ///< up to and including the last separator, as given; empty when there is none
  std::string base;       ///< between the last separator and the last "."
  std::string extension;  ///< the last three characters of the path, lower-cased: not the text after the dot
};
PathParts splitPath(std::string_view path);

/// The last three characters of `path` as they stand.
std::string_view extensionAsGiven(std::string_view path);

/// What follows the last separator.
std::string_view fileName(std::string_view path);

/// `path` seen from the root; one that begins with "\\" is taken to be so.
std::string absolutePath(const std::string& path);

/// The file that `path` names on this disk: separators are turned into the platform's, the exact name is tried first,
/// then, component by component, names that differ in case only or whose bytes are Windows-1252 for a name in UTF-8.
/// Empty when no regular file is found.
std::string findFile(std::string_view path);

/// The folder of the running executable; ends with a separator.
std::string executableFolder();

/// The folder of the executable, or the environment's VELLANDRA_HOME; ends with a separator.
std::string programFolder();

/// Where the ini and the log are written: the program's folder, or the user's data folder when the former cannot be
/// written. Created when missing; ends with a separator.
std::string settingsFolder();

/// `name` in the settings folder when it is there, else in the program's folder.
std::string settingsFileForReading(std::string_view name);

}  // namespace vellandra

#include "support/paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "support/files.h"
#include "support/text.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view separators = "\\/";

bool exists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0;
}

bool isRegularFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// The entry of `folder` that is `name` but for case or encoding; the alphabetically first one, so that the choice does
/// not hang on the order in which the disk lists them. Empty when there is none.
std::string similarEntry(const std::string& folder, const std::string& name) {
  const std::string wanted = foldCase(toUtf8(name));
  std::string found;
  std::error_code error;
  for (fs::directory_iterator entries(folder.empty() ? "." : folder, error), end; !error && entries != end;
       entries.increment(error)) {
    const std::string entry = entries->path().filename().string();
    if (foldCase(toUtf8(entry)) == wanted && (found.empty() || entry < found)) found = entry;
  }
  return found;
}

std::string withSeparator(std::string folder) {
  if (folder.empty() || folder.back() != '/') folder += '/';
  return folder;
}

}  // namespace

std::string_view extensionAsGiven(std::string_view path) {
  return path.substr(path.size() - std::min<std::size_t>(3, path.size()));
}

PathParts splitPath(std::string_view path) {
  PathParts parts;
  const std::string_view name = fileName(path);
  parts.folder = path.substr(0, path.size() - name.size());
  parts.base = name.substr(0, name.rfind('.'));
  parts.extension = lowerCase(extensionAsGiven(path));
  return parts;
}

std::string_view fileName(std::string_view path) {
  const std::size_t separator = path.find_last_of(separators);
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::string findFile(std::string_view path) {
  std::string given(path);
  if (path.find('\0') != std::string_view::npos) return {};
  if (isRegularFile(given)) return given;
  std::string found = !path.empty() && separators.find(path.front()) != std::string_view::npos ? "/" : "";
  while (!path.empty()) {
    const std::size_t end = path.find_first_of(separators);
    const std::string component(path.substr(0, end));
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
    if (component.empty()) continue;
    if (!found.empty() && found.back() != '/') found += '/';
    std::string next = found + component;
    if (!exists(next)) {
      const std::string similar = similarEntry(found, component);
      if (similar.empty()) return {};
      next = found + similar;
    }
    found = next;
  }
  return isRegularFile(found) ? found : std::string();
}

std::string absolutePath(const std::string& path) {
  if (path.starts_with('\\')) return path;  // the way other systems write it
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  return error ? path : absolute.string();
}

std::string executableFolder() {
  std::error_code error;
  const fs::path executable = fs::read_symlink("/proc/self/exe", error);
  return error ? "./" : withSeparator(executable.parent_path().string());
}

std::string programFolder() {
  if (const char* home = std::getenv("VELLANDRA_HOME"); home != nullptr && *home != '\0') return withSeparator(home);
  return executableFolder();
}

std::string settingsFolder() {
  std::string folder = programFolder();
  if (::access(folder.c_str(), W_OK) == 0) return folder;
  const char* data = std::getenv("XDG_DATA_HOME");
  const char* home = std::getenv("HOME");
  if (data != nullptr && *data == '/') {
    folder = withSeparator(data) + "vellandra/";
  } else if (home != nullptr && *home != '\0') {
    folder = withSeparator(home) + ".local/share/vellandra/";
  } else {
    return folder;
  }
  std::error_code error;
  fs::create_directories(folder, error);  // a failure shows when a file is opened there
  return folder;
}

std::string settingsFileForReading(std::string_view name) {
  const std::string own = settingsFolder() + std::string(name);
  return exists(own) ? own : programFolder() + std::string(name);
}

}  // namespace vellandra

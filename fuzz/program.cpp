#include "program.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/preferences.h"
#include "calibration/session.h"
#include "imaging/map_image.h"
#include "support/errors.h"

namespace vellandra {

void putFile(const std::string& path, std::string_view content) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  const bool written =
      file >= 0 && ::write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size());
  if (file >= 0) ::close(file);
  if (!written) throw std::system_error(errno, std::generic_category(), path);
}

bool runGuarded(std::string& fault, const std::function<bool()>& command) {
  return runCommand([&] {
    try {
      return command();
    } catch (const RunTimeError&) {
      throw;
    } catch (const std::exception& error) {
      fault = std::string("unexpected exception: ") + error.what();
      return false;
    }
  });
}

void resetProgram(const std::string& datumsPath) {
  calibration = Calibration();
  driver = Driver();
  mapImage = MapImage();
  inputDatumName.clear();
  preferences = defaultPreferences();
  preferences.datumsPath = datumsPath;
}

}  // namespace vellandra

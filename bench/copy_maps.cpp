// Rescales or crops a map without a window: for bench/copies.sh.
// Usage: bench_copies rescale|crop CALIBRATION OUTPUT.png
// To half its size, or to what is left without a tenth at each side.
#include <cstdio>
#include <string>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/preferences.h"
#include "calibration/session.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "imaging/map_image.h"
#include "imaging/rescale_crop.h"
#include "scripted_interface.h"
#include "support/paths.h"

namespace vellandra {
namespace {

int run(int argc, char** argv) {
  if (argc != 4) return 2;
  ScriptedInterface person;
  setFormatTable({formatRows(), getidata, saveMapImage});
  preferences.datumsPath = programFolder() + "datums.txt";
  person.pickedFiles = {argv[2], argv[3]};
  person.typedTexts = {"50"};
  driver.stage = openCalibration;
  if (!runCommand(do_it)) return 1;
  const int width = calibration.imageWidth, height = calibration.imageHeight;
  person.rectangles = {PixelRectangle{width / 10, height / 10, width - width / 10, height - height / 10}};
  if (runCommand(argv[1] == std::string("crop") ? cropMap : rescaleMap)) return 0;
  std::fprintf(stderr, "%s", person.panel.c_str());
  return 1;
}

}  // namespace
}  // namespace vellandra

int main(int argc, char** argv) {
  return vellandra::run(argc, argv);
}

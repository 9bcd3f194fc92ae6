#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "calibration/log.h"
#include "calibration/session.h"
#include "console/console.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "imaging/map_image.h"

namespace {

/// Memory in use now, in KiB (Linux: the second figure of /proc/self/statm, in pages).
long residentKiB() {
  std::ifstream statm("/proc/self/statm");
  long size = 0;
  long resident = 0;
  statm >> size >> resident;
  return resident * 4;
}

}  // namespace

/// Converts one calibration many times in one process and prints the memory in use on the way.
int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::ofstream nowhere("/dev/null");
  vellandra::Console console(std::cin, nowhere, nowhere, false);
  vellandra::setUserInterface(console);
  vellandra::setFormatTable({vellandra::formatRows(), vellandra::getidata, vellandra::saveMapImage});
  vellandra::startSession();
  const int runs = std::atoi(argv[2]);
  for (int run = 1; run <= runs; ++run) {
    if (vellandra::runBatch(argv[1]) != 0) return 1;
    if (run == 10 || run % (runs / 5) == 0) std::printf("after %4d conversions: %ld KiB\n", run, residentKiB());
  }
  vellandra::closeLog();
  return 0;
}

#include "formats/format_table.h"

#include <vector>

#include "formats/cal_file.h"
#include "formats/gmi_file.h"
#include "formats/gux_file.h"
#include "formats/imp_file.h"
#include "formats/jpr_file.h"
#include "formats/map_file.h"
#include "formats/mcd_file.h"
#include "formats/script_file.h"
#include "formats/text_calibration.h"
#include "formats/world_file.h"

namespace vellandra {

std::span<const FormatRow> formatRows() {
  constexpr bool shared = true;
  static const std::vector<FormatRow> rows = {
      {.endings = {{"map", "Ozi Map files (*.map)", 1, shared}},
       .read = readMap,
       .keepsCorners = true,
       .write = writeMap,
       .moment = WriterMoment::fourPoints,
       .rewritesInput = true},

      {.endings = {{"gux", "GPSU GUX files (*.gux)", 2}}, .read = readGux},

      {.endings = {{"jgw", "World files (*.jgw)", 7, shared},
                   {"tfw", "World files (*.tfw)", 3, shared},
                   {"pgw", "World files (*.pgw)", 8, shared}},
       .read = readWorldFile,
       .settlesImage = true,
       .keepsCorners = true,
       .fixedPair = ReferencePair{1, 3},
       .write = writeWorldFile,
       .moment = WriterMoment::worldFile,
       .rewritesInput = true},

      {.write = writeScript, .moment = WriterMoment::worldFile},

      {.endings = {{"jpr", "MM JPR files (*.jpr)", 4}},
       .read = readJpr,
       .write = writeJpr,
       .moment = WriterMoment::threePoints,
       .rewritesInput = true},

      {.endings = {{"cal", "Cal files (*.cal)", 9, shared}}, .read = readCal, .write = writeCal},

      {.endings = {{"gmi", "GMI calibration files(*.gmi)", 5}}, .read = readGmi, .write = writeGmi},

      {.endings = {{"mcd", "MCD Calibrations (*.mcd)", 6}},
       .read = readMcd,
       .isText = false,
       .fixedPair = ReferencePair{1, 4},
       .write = writeMcd},

      {.endings = {{"imp", "CompeGPS files (*.imp)", 10, shared}}, .read = readImp},

      {.write = writeTextCalibration},
  };
  return rows;
}

}  // namespace vellandra

#include "formats/format_table.h"

#include <array>

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

std::span<const ReaderRow> readerTable() {
  // clang-format off
  static constexpr std::array rows = {
      ReaderRow{"map", "map", readMap},
      ReaderRow{"gux", "gux", readGux},
      ReaderRow{"jgw", "tfw", readWorldFile},
      ReaderRow{"tfw", "tfw", readWorldFile},
      ReaderRow{"pgw", "tfw", readWorldFile},
      ReaderRow{"jpr", "jpr", readJpr},
      ReaderRow{"cal", "cal", readCal},
      ReaderRow{"gmi", "gmi", readGmi},
      ReaderRow{"mcd", "mcd", readMcd},
      ReaderRow{"imp", "imp", readImp},
  };
  // clang-format on
  return rows;
}

std::span<const WriterRow> writerTable() {
  static constexpr std::array rows = {
      WriterRow{WriterMoment::worldFile, "", writeWorldFile},
      WriterRow{WriterMoment::worldFile, "", writeScript},
      WriterRow{WriterMoment::threePoints, "", writeJpr},
      WriterRow{WriterMoment::fourPoints, "", [] { return putmap(); }},
      WriterRow{WriterMoment::last, "cal", writeCal},
      WriterRow{WriterMoment::last, "gmi", writeGmi},
      WriterRow{WriterMoment::last, "mcd", writeMcd},
      WriterRow{WriterMoment::last, "", writeTextCalibration},
  };
  return rows;
}

}  // namespace vellandra

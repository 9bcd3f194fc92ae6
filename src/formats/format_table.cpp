#include "formats/format_table.h"

#include <array>

#include "formats/cal_file.h"
#include "formats/jpr_file.h"
#include "formats/map_file.h"
#include "formats/script_file.h"
#include "formats/text_calibration.h"
#include "formats/world_file.h"

namespace vellandra {

std::span<const ReaderRow> readerTable() {
  static constexpr std::array rows = {
      ReaderRow{"map", "map", readMap},       ReaderRow{"jgw", "tfw", readWorldFile},
      ReaderRow{"tfw", "tfw", readWorldFile}, ReaderRow{"pgw", "tfw", readWorldFile},
      ReaderRow{"jpr", "jpr", readJpr},       ReaderRow{"cal", "cal", readCal},
  };
  return rows;
}

std::span<const WriterRow> writerTable() {
  static constexpr std::array rows = {
      WriterRow{WriterMoment::worldFile, "", writeWorldFile},
      WriterRow{WriterMoment::worldFile, "", writeScript},
      WriterRow{WriterMoment::threePoints, "", writeJpr},
      WriterRow{WriterMoment::fourPoints, "", [] { return putmap(); }},
      WriterRow{WriterMoment::last, "cal", writeCal},
      WriterRow{WriterMoment::last, "", writeTextCalibration},
  };
  return rows;
}

}  // namespace vellandra

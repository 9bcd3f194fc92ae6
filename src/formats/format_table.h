#pragma once

#include "calibration/driver.h"

namespace vellandra {

/// Every calibration format, a row each. A format is added by its unit and its row here.
std::span<const ReaderRow> readerTable();
std::span<const WriterRow> writerTable();

}  // namespace vellandra

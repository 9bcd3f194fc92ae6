#include "imaging/row_bands.h"

#include <algorithm>
#include <cstdint>

#include "support/threads.h"
#include "support/work.h"

namespace vellandra {

void forRowBands(int rows, int bandRows, unsigned threads, const std::function<void(int, int)>& work) {
  const int bands = (rows + bandRows - 1) / bandRows;
  forEachNumber(
      bands, threads, [&](int band) { work(band * bandRows, std::min((band + 1) * bandRows, rows)); },
      [&](int done) {
        if (done < bands) showProgress(std::int64_t{done} * bandRows, rows);
      });
  showProgress(rows, rows);
}

}  // namespace vellandra

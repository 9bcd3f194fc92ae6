#include "imaging/row_bands.h"

#include <algorithm>

#include "support/threads.h"
#include "support/user_interface.h"

namespace vellandra {

void forRowBands(int rows, int bandRows, unsigned threads, const std::function<void(int, int)>& work) {
  const int bands = (rows + bandRows - 1) / bandRows;
  forEachNumber(
      bands, threads, [&](int band) { work(band * bandRows, std::min((band + 1) * bandRows, rows)); },
      [&](int done) {
        if (done < bands) userInterface().showProgress(done * bandRows, rows);
      });
  userInterface().showProgress(rows, rows);
}

}  // namespace vellandra

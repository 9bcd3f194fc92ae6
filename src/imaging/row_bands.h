#pragma once

#include <functional>

namespace vellandra {

/// Calls `work` for bands of `bandRows` rows, as first row and the row behind the last, until all `rows` are done. The
/// bands are spread over `threads` threads, of which the caller's is one; `work` must not share anything that it
/// changes between bands, and uses neither the log nor the port. Shows the progress by rows, from the calling thread.
/// What `work` throws is thrown again when all threads have stopped.
void forRowBands(int rows, int bandRows, unsigned threads, const std::function<void(int, int)>& work);

}  // namespace vellandra

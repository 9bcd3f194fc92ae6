#pragma once

#include <string>
#include <string_view>

namespace vellandra {

/// Reads a GPX file made of `input`: bytes that no XML holds stand for its usual pieces or repeat what stands before
/// them, so that few bytes reach deep and far. Returns what must not happen, whatever the input: a position that is
/// none on the earth, a name that is no text, or points that depend on how the file comes in or on what stands behind
/// them. `read` is set when there are points.
std::string checkGpx(std::string_view input, bool& read);

}  // namespace vellandra

#pragma once

#include <string>
#include <string_view>

namespace vellandra {

/// Reads `text` as a position that a person types or pastes. The first bytes of `answers` choose the grid in use, its
/// zone and its datum. Returns what must not happen, whatever the text: a position that is none on the earth, one that
/// the text's own numbers and letters do not give, or one that reads as another when it is shown and typed again.
/// `read` is set when there is a position.
std::string checkPosition(std::string_view text, std::string_view answers, bool& read);

}  // namespace vellandra

#pragma once

#include <string>
#include <string_view>

namespace vellandra {

/// Loads `input` as an image in `folder`, of the type that its first bytes tell. `loaded` says whether it is one; what
/// is returned is what must not happen, whatever the input, and empty when all is well.
std::string checkImage(std::string_view input, const std::string& folder, bool& loaded);

}  // namespace vellandra

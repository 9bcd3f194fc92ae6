#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vellandra {

/// Starts the program whose path is the first of `arguments` with the others as they are: no shell takes them apart.
/// It runs on its own, without a terminal, its output going nowhere, and is not waited for. False when it cannot be
/// started.
/// `whenEnded`, if given, is called on a thread of its own when the program has ended, with whether it succeeded.
bool startProgram(const std::vector<std::string>& arguments, std::function<void(bool succeeded)> whenEnded = {});

}  // namespace vellandra

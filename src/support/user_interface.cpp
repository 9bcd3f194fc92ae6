#include "support/user_interface.h"

#include <cassert>

namespace vellandra {
namespace {

UserInterface*& current() {
  static UserInterface* implementation = nullptr;
  return implementation;
}

}  // namespace

UserInterface& userInterface() {
  assert(current() != nullptr);
  return *current();
}

void setUserInterface(UserInterface& implementation) {
  current() = &implementation;
}

void tell(const std::string& text, const std::string& title) {
  userInterface().messageBox({text, title});
}

}  // namespace vellandra

#include "support/user_interface.h"

#include <cassert>

namespace vellandra {
namespace {

UserInterface*& current() {
  static UserInterface* implementation = nullptr;
  return implementation;
}

}  // namespace

std::string lastTold;

UserInterface& userInterface() {
  assert(current() != nullptr);
  return *current();
}

void setUserInterface(UserInterface& implementation) {
  current() = &implementation;
}

bool askOkCancel(const std::string& text, const std::string& title) {
  return userInterface().messageBox({text, title, Buttons::okCancel, Icon::question}) == Answer::ok;
}

void tell(const std::string& text, const std::string& title) {
  lastTold = text;
  userInterface().messageBox({text, title, Buttons::ok, Icon::warning});
}

}  // namespace vellandra

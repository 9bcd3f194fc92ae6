#include "raster/library_messages.h"

#include <tiffio.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <utility>

#include "calibration/log.h"

namespace vellandra {
namespace {

constexpr int logged = 10;

void tiffMessage(const char* /*module*/, const char* format, std::va_list arguments) {
  std::array<char, 500> text{};
  std::vsnprintf(text.data(), text.size(), format, arguments);
  LibraryMessages::add(text.data());
}

}  // namespace

thread_local LibraryMessages* LibraryMessages::current_ = nullptr;

LibraryMessages::LibraryMessages(std::string path) : path_(std::move(path)), outer_(current_) {
  current_ = this;
}

LibraryMessages::LibraryMessages(std::vector<std::string>& collected) : collected_(&collected), outer_(current_) {
  current_ = this;
}

LibraryMessages::~LibraryMessages() {
  current_ = outer_;
  if (count_ > logged) write(std::to_string(count_ - logged) + " more messages");
}

void LibraryMessages::add(std::string_view text) noexcept {
  try {
    if (current_ == nullptr) return writeLog(text);
    current_->last_ = text;
    if (++current_->count_ <= logged) current_->write(current_->last_);
  } catch (const std::exception&) {
    return;
  }
}

std::string LibraryMessages::last() {
  return current_ == nullptr ? "" : current_->last_;
}

void LibraryMessages::write(const std::string& text) {
  if (collected_ != nullptr) return collected_->push_back(text);
  writeLog(path_ + ": " + text);
}

void divertTiffMessages() {
  TIFFSetErrorHandler(tiffMessage);
  TIFFSetWarningHandler(tiffMessage);
}

}  // namespace vellandra

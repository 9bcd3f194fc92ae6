#pragma once

#include <stdexcept>
#include <string>

namespace vellandra {

/// What must not happen silently: ends the running command, whose boundary shows it once (see `runCommand`).
/// `what()` is the short text a person sees; `detail()` says which value caused it, and may be empty.
class RunTimeError : public std::runtime_error {
 public:
  RunTimeError(const std::string& description, std::string detail)
      : std::runtime_error(description), detail_(std::move(detail)) {}
  const std::string& detail() const { return detail_; }

 private:
  std::string detail_;
};

/// A number that does not fit the integer it is meant for (16 or 32 bits), or a result that is not finite.
class Overflow : public RunTimeError {
 public:
  explicit Overflow(const std::string& detail) : RunTimeError("Overflow", detail) {}
};

/// An index outside its table: a slot past 50, a datum past 200, a tile past 1000.
class SubscriptOutOfRange : public RunTimeError {
 public:
  explicit SubscriptOutOfRange(const std::string& detail) : RunTimeError("Subscript out of range", detail) {}
};

/// A value that an operation is not defined for.
class InvalidArgument : public RunTimeError {
 public:
  explicit InvalidArgument(const std::string& detail) : RunTimeError("Invalid procedure call or argument", detail) {}
};

/// A file that is there but cannot be read.
class FileError : public RunTimeError {
 public:
  explicit FileError(const std::string& detail) : RunTimeError("Unable to read file", detail) {}
};

}  // namespace vellandra

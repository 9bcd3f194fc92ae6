#include "support/numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "support/errors.h"
#include "support/text.h"

namespace vellandra {
namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The part of `text` that is a number, behind blanks and without a "+"; empty when there is none.
std::string_view leadingNumber(std::string_view text) {
  text = trim(text);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '-') return {};
  }
  std::size_t end = 0;
  if (end < text.size() && text[end] == '-') ++end;
  std::size_t digits = 0;
  for (; end < text.size() && isDigit(text[end]); ++end) ++digits;
  if (end < text.size() && text[end] == '.') ++end;
  for (; end < text.size() && isDigit(text[end]); ++end) ++digits;
  if (digits == 0) return {};
  if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
    std::size_t exponent = end + 1;
    if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) ++exponent;
    if (exponent < text.size() && isDigit(text[exponent])) {
      end = exponent;
      while (end < text.size() && isDigit(text[end])) ++end;
    }
  }
  return text.substr(0, end);
}

/// The power of ten of the first digit of `number` that is not 0, for a number past the range of a double.
double decimalMagnitude(std::string_view number) {
  const std::size_t e = std::min(number.find_first_of("eE"), number.size());
  const std::string_view digits = number.substr(0, e);
  const std::size_t point = std::min(digits.find('.'), digits.size());
  const std::size_t first = digits.find_first_of("123456789");
  double exponent = 0;
  for (std::size_t i = e + 1; i < number.size(); ++i) {
    if (isDigit(number[i])) exponent = std::min(exponent * 10 + (number[i] - '0'), 1e12);
  }
  if (e + 1 < number.size() && number[e + 1] == '-') exponent = -exponent;
  return exponent + static_cast<double>(point) - static_cast<double>(std::min(first, digits.size()));
}

/// Digits of |value| as a decimal: value = 0.d1d2d3... x 10^exponent, at most 15 digits.
struct Decimal {
  std::string digits;
  int exponent = 0;
};

constexpr int significantDigits = 15;

Decimal toDecimal(double value) {
  std::array<char, 64> buffer{};
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::abs(value),
                                          std::chars_format::scientific, significantDigits - 1);
  const std::string_view text(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
  const std::size_t e = text.find('e');
  Decimal result;
  result.digits.push_back(text[0]);
  result.digits.append(text.substr(2, e - 2));
  std::string_view exponent = text.substr(e + 1);
  if (exponent.front() == '+') exponent.remove_prefix(1);
  std::from_chars(exponent.data(), exponent.data() + exponent.size(), result.exponent);
  ++result.exponent;
  return result;
}

/// Digits before and behind the decimal point after rounding to `places`, halves away from zero.
struct Fixed {
  std::string whole, fraction;
};

Fixed roundToPlaces(const Decimal& decimal, int places) {
  const auto digitAt = [&decimal](int position) {  // position 0 is the first digit behind the point
    const int index = position + decimal.exponent;
    if (index < 0 || index >= static_cast<int>(decimal.digits.size())) return 0;
    return decimal.digits[static_cast<std::size_t>(index)] - '0';
  };
  std::string digits;
  const int wholeDigits = std::max(decimal.exponent, 0);
  for (int position = -wholeDigits; position < places; ++position) {
    digits.push_back(static_cast<char>('0' + digitAt(position)));
  }
  if (digitAt(places) >= 5) {
    std::size_t i = digits.size();
    while (i > 0 && digits[i - 1] == '9') digits[--i] = '0';
    if (i > 0) {
      ++digits[i - 1];
    } else {
      digits.insert(digits.begin(), '1');
    }
  }
  const std::size_t fractionStart = digits.size() - static_cast<std::size_t>(places);
  Fixed result{digits.substr(0, fractionStart), digits.substr(fractionStart)};
  result.whole.erase(0, std::min(result.whole.find_first_not_of('0'), result.whole.size()));
  return result;
}

template <typename Integer>
Integer parseInteger(std::string_view text) {
  const double rounded = std::nearbyint(parseNumber(text));
  if (rounded < static_cast<double>(std::numeric_limits<Integer>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<Integer>::max())) {
    throw Overflow(std::string(trim(text).substr(0, 40)) + " does not fit");
  }
  return static_cast<Integer>(rounded);
}

}  // namespace

double parseNumber(std::string_view text) {
  const std::string_view number = leadingNumber(text);
  if (number.empty()) return 0;
  double value = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (error == std::errc::result_out_of_range) {
    if (decimalMagnitude(number) < 0) return 0;  // too small to hold
    throw Overflow(std::string(number.substr(0, 40)) + " is too large");
  }
  return value;
}

bool beginsWithNumber(std::string_view text) {
  const std::string_view number = leadingNumber(text);
  if (number.empty()) return false;
  const char* behind = number.data() + number.size();
  const char* end = text.data() + text.size();
  return !(end - behind >= 2 && behind[0] == ',' && isDigit(behind[1]));
}

std::optional<double> numberIn(std::string_view text, NumberRange range) {
  const std::string_view number = leadingNumber(text);
  const std::string_view all = trim(text);
  if (number.empty() || number.data() + number.size() != all.data() + all.size()) return std::nullopt;
  try {
    const double value = parseNumber(number);
    return value >= range.least && value <= range.most ? std::optional(value) : std::nullopt;
  } catch (const Overflow&) {
    return std::nullopt;
  }
}

std::int16_t parseInt16(std::string_view text) {
  return parseInteger<std::int16_t>(text);
}

std::int32_t parseInt32(std::string_view text) {
  return parseInteger<std::int32_t>(text);
}

std::int32_t roundToInt32(double value) {
  const double rounded = std::nearbyint(value);
  if (!(rounded >= std::numeric_limits<std::int32_t>::min() && rounded <= std::numeric_limits<std::int32_t>::max())) {
    throw Overflow(formatGeneral(value) + " does not fit");
  }
  return static_cast<std::int32_t>(rounded);
}

std::int16_t toInt16(std::int64_t value) {
  if (value < std::numeric_limits<std::int16_t>::min() || value > std::numeric_limits<std::int16_t>::max()) {
    throw Overflow(std::to_string(value) + " does not fit");
  }
  return static_cast<std::int16_t>(value);
}

std::string formatNumber(double value, std::string_view pattern) {
  if (!std::isfinite(value)) throw Overflow("a result is not a number");
  const std::size_t point = pattern.find('.');
  const std::string_view wholePattern = pattern.substr(0, point);
  const std::string_view fractionPattern = point == std::string_view::npos ? "" : pattern.substr(point + 1);
  Fixed fixed = roundToPlaces(toDecimal(value), static_cast<int>(fractionPattern.size()));

  const bool zero = fixed.whole.empty() && fixed.fraction.find_first_not_of('0') == std::string::npos;
  const auto forced = static_cast<std::size_t>(std::count(wholePattern.begin(), wholePattern.end(), '0'));
  if (fixed.whole.size() < forced) fixed.whole.insert(0, forced - fixed.whole.size(), '0');
  while (!fixed.fraction.empty() && fractionPattern[fixed.fraction.size() - 1] == '#' && fixed.fraction.back() == '0') {
    fixed.fraction.pop_back();
  }
  std::string result = value < 0 && !zero ? "-" : "";
  result += fixed.whole;
  if (point != std::string_view::npos) result += "." + fixed.fraction;
  return result;
}

std::string sizeText(std::int64_t width, std::int64_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

std::string exactNumber(double value) {
  std::array<char, 32> buffer{};
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return {buffer.data(), end};
}

std::string formatGeneral(double value) {
  std::array<char, 64> buffer{};
  const auto [end, error] =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, significantDigits);
  return upperCase(std::string_view(buffer.data(), static_cast<std::size_t>(end - buffer.data())));
}

}  // namespace vellandra

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vellandra {

/// The number that `text` begins with, after blanks: sign, digits with ".", exponent; 0 when there is none. Independent
/// of the locale; "inf", "nan" and hexadecimal are not numbers. Throws Overflow past the range of a double.
double parseNumber(std::string_view text);

/// True when `text`, trimmed, begins with a number in the sense of `parseNumber`. A decimal comma makes it none: "35,5"
/// would be read as 35.
bool beginsWithNumber(std::string_view text);

/// What a person may give, both ends included.
struct NumberRange {
  int least, most;
};

/// The number that a person typed, blanks around it left aside: nothing when `text` is no number, holds anything else
/// ("300px", "50 %", "35,5"), or lies outside `range`. A dialog that warns beforehand asks this as well.
std::optional<double> numberIn(std::string_view text, NumberRange range);

/// `parseNumber`, rounded half to even. Throw Overflow when the result does not fit.
std::int16_t parseInt16(std::string_view text);
std::int32_t parseInt32(std::string_view text);

/// Rounds half to even. Throws Overflow when the result does not fit 32 bits or `value` is not finite.
std::int32_t roundToInt32(double value);
/// Throws Overflow when `value` does not fit 16 bits.
std::int16_t toInt16(std::int64_t value);

/// `value` with a display pattern such as "###0.000000", "00" or "####.0000": "0" forces a digit, "#" an optional one.
/// Rounds half away from zero on the 15-digit decimal form; the decimal separator is "." whatever the locale; a result
/// of zero has no sign. Throws Overflow when `value` is not finite.
std::string formatNumber(double value, std::string_view pattern);

/// The shortest text that `parseNumber` reads as just this number.
std::string exactNumber(double value);

/// "width x height".
std::string sizeText(std::int64_t width, std::int64_t height);

/// The general form for the log: up to 15 significant digits, "E" notation when very large or small.
std::string formatGeneral(double value);

}  // namespace vellandra

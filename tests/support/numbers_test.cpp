#include "support/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>

#include "support/errors.h"

namespace vellandra {
namespace {

TEST(FormatNumber, GivesEveryPatternOfTheCalibrationFiles) {
  // Halves go away from zero on the decimal form, whatever the binary form is: 0.285.
  const std::tuple<double, const char*, const char*> rows[] = {{0.5, "####.0000", ".5000"},
                                                               {0, "####.0000", ".0000"},
                                                               {12.34567, "####.0000", "12.3457"},
                                                               {-0.0004, "##0.000", "0.000"},
                                                               {-0.0005, "##0.000", "-0.001"},
                                                               {0.285, "0.00", "0.29"},
                                                               {2.5, "0", "3"},
                                                               {-2.5, "###0", "-3"},
                                                               {7, "00", "07"},
                                                               {123, "00", "123"},
                                                               {640, "000000", "000640"},
                                                               {-3.25, "###0.000000", "-3.250000"},
                                                               {9.9999999, "##0.000000", "10.000000"},
                                                               {59.9999996, "00.000000", "60.000000"},
                                                               {1e20, "##0.0", "100000000000000000000.0"},
                                                               {1e-9, "###0.000000000", "0.000000001"},
                                                               {123456789.125, "##0.00", "123456789.13"},
                                                               {1.5, "0.0##", "1.5"},
                                                               {0.04, "000.000000", "000.040000"}};
  for (const auto& [value, pattern, text] : rows) EXPECT_EQ(formatNumber(value, pattern), text) << pattern;
  EXPECT_THROW(formatNumber(NAN, "0.0"), Overflow);
}

TEST(ParseNumber, TakesTheLeadingNumberOnly) {
  const std::tuple<const char*, double, bool> rows[] = {
      {" 12.5abc", 12.5, true}, {"-.5", -0.5, true}, {"+3", 3, true},     {"1e3", 1000, true},
      {"1e", 1, true},          {"7.", 7, true},     {"1,5", 1, false},   {"0x10", 0, true},
      {"inf", 0, false},        {"nan", 0, false},   {"", 0, false},      {"+-3", 0, false},
      {".", 0, false},          {"-", 0, false},     {"1e-999", 0, true}, {"\t44 N", 44, true}};
  for (const auto& [text, value, number] : rows) {
    EXPECT_EQ(parseNumber(text), value) << text;
    EXPECT_EQ(beginsWithNumber(text), number) << text;
  }
  const std::string nines(400, '9');
  for (const std::string& text : {std::string("1e999"), nines, nines + "e-10"})
    EXPECT_THROW(parseNumber(text), Overflow);
  EXPECT_EQ(parseNumber("0." + std::string(400, '0') + "1e+10"), 0);
}

TEST(NumberIn, TakesANumberOfTheRangeAndNothingBesideIt) {
  const std::pair<const char*, std::optional<double>> rows[] = {
      {"1", 1},     {" 33.5\t", 33.5}, {"+100", 100}, {"1e1", 10}, {"0.99", {}}, {"100.01", {}}, {"-5", {}},
      {"30px", {}}, {"50 %", {}},      {"35,5", {}},  {"3 5", {}}, {"0x10", {}}, {"1e999", {}},  {"", {}}};
  for (const auto& [text, value] : rows) EXPECT_EQ(numberIn(text, {1, 100}), value) << text;
}

TEST(ParseInteger, RoundsHalfToEvenAndRefusesWhatDoesNotFit) {
  const std::pair<double, int> halves[] = {{2.5, 2}, {3.5, 4}, {-0.5, 0}, {-1.5, -2}, {-2.5, -2}, {2.4999, 2}};
  for (const auto& [value, rounded] : halves) {
    EXPECT_EQ(parseInt32(std::to_string(value)), rounded) << value;
    EXPECT_EQ(roundToInt32(value), rounded) << value;
  }
  EXPECT_EQ(roundToInt32(-2147483648.5), INT32_MIN);
  for (const double value : {2147483647.5, HUGE_VAL, std::nan("")})
    EXPECT_THROW(roundToInt32(value), Overflow) << value;
  EXPECT_EQ(parseInt16("32767"), 32767);
  EXPECT_THROW(parseInt16("32768"), Overflow);
  EXPECT_THROW(parseInt32("99999999999"), Overflow);
}

TEST(FormatGeneral, KeepsFifteenDigits) {
  EXPECT_EQ(formatGeneral(0.1), "0.1");
  EXPECT_EQ(formatGeneral(100), "100");
  EXPECT_EQ(formatGeneral(1.0 / 3), "0.333333333333333");
  EXPECT_EQ(formatGeneral(1.5e-7), "1.5E-07");
}

}  // namespace
}  // namespace vellandra

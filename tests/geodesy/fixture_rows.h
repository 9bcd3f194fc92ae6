#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace vellandra {

/// A row of a sheet: its line, for messages, and its numbers, followed by a name on some sheets.
struct FixtureRow {
  std::string line;
  std::vector<double> number;
  std::string name;
};

/// The rows of tests/fixtures/geodesy/`name`, each with `numbers` numbers; "#" begins a remark.
inline std::vector<FixtureRow> fixtureRows(const std::string& name, std::size_t numbers) {
  std::ifstream file(std::string(FIXTURES) + "/geodesy/" + name);
  std::vector<FixtureRow> rows;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('#')) continue;
    FixtureRow row{line, std::vector<double>(numbers), ""};
    std::istringstream fields(line);
    for (double& number : row.number) fields >> number;
    EXPECT_TRUE(fields) << line;
    std::getline(fields >> std::ws, row.name);
    rows.push_back(row);
  }
  EXPECT_FALSE(rows.empty()) << name;
  return rows;
}

/// Distance in metres between two positions in degrees that are close together; whole turns of longitude do not count.
inline double metresBetween(double lat1, double lon1, double lat2, double lon2) {
  const double east = std::remainder(lon1 - lon2, 360) * std::cos(lat1 * 3.14159265358979 / 180);
  return 111320 * std::hypot(lat1 - lat2, east);
}

}  // namespace vellandra

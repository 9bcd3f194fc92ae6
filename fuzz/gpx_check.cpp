#include "gpx_check.h"

#include <QBuffer>
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

#include "ui/viewer/gpx_file.h"

namespace vellandra {
namespace {

constexpr std::size_t longestFile = 160'000;
constexpr char repeatMark = '\x1F', beginMark = '\x1E';

constexpr std::array<std::string_view, 20> pieces = {
    "<?xml version='1.0'?>",
    "<?xml version='1.0' encoding='UTF-16'?>",
    "<?xml version='1.0' encoding='windows-1252'?>",
    "<!DOCTYPE gpx [<!ENTITY a '&b;&b;'><!ENTITY b 'tattoo'>]>",
    "<gpx>",
    "</gpx>",
    "<trk>",
    "</trk>",
    "<trkseg>",
    "</trkseg>",
    "<trkpt lat='49.5' lon='-10.25'/>",
    "<rte>",
    "</rte>",
    "<x:rtept lon='1e2' lat='9e1'><ele>3</ele></x:rtept>",
    "<wpt lat='-1.5' lon='180'>",
    "</wpt>",
    "<name>",
    "</name>",
    "\xF0\x9F\x8F\x94",
    "<extensions><x:a xmlns:x='b' c='d'>",
};

/// Bytes from 1 name a piece, except the white space among them. The repeat mark is followed by how often what stands
/// behind the last begin mark is doubled.
std::string fileOf(std::string_view input) {
  std::string file;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < input.size() && file.size() < longestFile; ++i) {
    const char c = input[i];
    const auto piece = static_cast<std::size_t>(static_cast<unsigned char>(c)) - 1;
    if (c == beginMark) {
      begin = file.size();
    } else if (c == repeatMark && i + 1 < input.size()) {
      const std::string repeated = file.substr(begin);
      for (std::size_t left = std::size_t(1) << (static_cast<unsigned char>(input[++i]) % 16);
           left > 1 && file.size() < longestFile; --left) {
        file += repeated;
      }
    } else if (piece < pieces.size() && c != '\t' && c != '\n' && c != '\r') {
      file += pieces[piece];
    } else {
      file += c;
    }
  }
  return file;
}

/// A file that comes in a few bytes at a time, as from a slow disk.
class SlowDevice final : public QIODevice {
 public:
  explicit SlowDevice(const std::string& file) : left_(file) { open(ReadOnly | Unbuffered); }
  bool isSequential() const override { return true; }

 protected:
  qint64 readData(char* data, qint64 size) override {
    constexpr std::size_t most = 62;  // even: Qt loses its way where a unit of UTF-16 comes in two
    const std::size_t count = left_.copy(data, std::min(static_cast<std::size_t>(size), most));
    left_.remove_prefix(count);
    return static_cast<qint64>(count);
  }
  qint64 writeData(const char*, qint64) override { return -1; }

 private:
  std::string_view left_;
};

GpxFile readWhole(std::string_view file) {
  QByteArray bytes(file.data(), static_cast<qsizetype>(file.size()));
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::ReadOnly);
  return readGpx(buffer);
}

bool isOnEarth(const Position& position) {
  return std::abs(position.latitude) <= 90 && std::abs(position.longitude) <= 180;
}

bool isSame(const Position& one, const Position& other) {
  return one.latitude == other.latitude && one.longitude == other.longitude;
}

bool isSameLine(const std::vector<Position>& one, const std::vector<Position>& other) {
  return std::ranges::equal(one, other, [](const Position& a, const Position& b) { return isSame(a, b); });
}

bool isSame(const GpxFile& one, const GpxFile& other) {
  const auto sameWaypoint = [](const GpxWaypoint& a, const GpxWaypoint& b) {
    return isSame(a.position, b.position) && a.name == b.name;
  };
  return one.problem == other.problem && std::ranges::equal(one.lines, other.lines, isSameLine) &&
         std::ranges::equal(one.waypoints, other.waypoints, sameWaypoint);
}

/// Whether `part` is the beginning of `whole`; its last waypoint may end before its name.
bool isBeginning(const GpxFile& part, const GpxFile& whole) {
  if (part.lines.size() > whole.lines.size() || part.waypoints.size() > whole.waypoints.size()) return false;
  for (std::size_t i = 0; i < part.lines.size(); ++i) {
    std::vector<Position> line = whole.lines[i];
    if (i + 1 == part.lines.size()) line.resize(std::min(line.size(), part.lines[i].size()));
    if (!isSameLine(part.lines[i], line)) return false;
  }
  for (std::size_t i = 0; i < part.waypoints.size(); ++i) {
    const bool ends = i + 1 == part.waypoints.size();
    const GpxWaypoint &one = part.waypoints[i], &other = whole.waypoints[i];
    if (!isSame(one.position, other.position) || (!ends && one.name != other.name)) return false;
  }
  return true;
}

/// What stands before a damaged place is the same, wherever the damage is noticed.
bool agree(const GpxFile& one, const GpxFile& other) {
  return isBeginning(one, other) || isBeginning(other, one);
}

}  // namespace

std::string checkGpx(std::string_view input, bool& read) {
  const std::string file = fileOf(input);
  const GpxFile gpx = readWhole(file);
  read = !gpx.isEmpty();
  for (const std::vector<Position>& line : gpx.lines) {
    if (line.empty()) return "a line without points";
    if (!std::ranges::all_of(line, isOnEarth)) return "a point of a line that is not on the earth";
  }
  for (const GpxWaypoint& waypoint : gpx.waypoints) {
    if (!isOnEarth(waypoint.position)) return "a waypoint that is not on the earth";
    if (QString::fromUtf8(waypoint.name.toUtf8()) != waypoint.name || waypoint.name.size() > 60) {
      return "a name that is no short text";
    }
  }
  if (!read && gpx.problem.isEmpty()) return "nothing was read, and nothing is said";
  SlowDevice slow(file);
  const GpxFile slowly = readGpx(slow);
  if (gpx.problem.isEmpty() ? !isSame(slowly, gpx) : !agree(slowly, gpx)) {
    return "what comes in slowly reads as another file:" + (slowly.problem + " instead of" + gpx.problem).toStdString();
  }
  const std::size_t cut = std::hash<std::string_view>()(input) % (file.size() + 1);
  if (!agree(readWhole(std::string_view(file).substr(0, cut)), gpx)) {
    return "the first " + std::to_string(cut) + " bytes read as what the whole does not begin with";
  }
  return "";
}

}  // namespace vellandra

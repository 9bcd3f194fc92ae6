#include "ui/viewer/gpx_file.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>
#include <cmath>
#include <optional>

#include "support/work.h"

namespace vellandra {
namespace {

constexpr qint64 largestFile = 1 << 30;
constexpr std::size_t mostPoints = 500000;
constexpr qsizetype longestName = 60;

/// A file that shows how far it has been read, and has no more to give when the work under way is cancelled.
class WorkFile : public QFile {
 public:
  using QFile::QFile;

 protected:
  qint64 readData(char* data, qint64 most) override {
    if (isCancelled()) return -1;
    showProgress(pos(), size());
    return QFile::readData(data, most);
  }
};

class GpxReader {
 public:
  explicit GpxReader(QIODevice& device) : xml_(&device) {}

  GpxFile read() {
    if (!xml_.readNextStartElement() || xml_.name() != u"gpx") {
      file_.problem = " is no GPX file";
      return file_;
    }
    while (!xml_.atEnd() && !xml_.hasError() && points_ < mostPoints) {  // a file that fails has no end
      xml_.readNext();
      if (xml_.isStartElement()) takeElement();
    }
    std::erase_if(file_.lines, [](const auto& line) { return line.empty(); });
    if (points_ >= mostPoints) {
      file_.problem = QString(" holds more than %1 points: the first are drawn").arg(mostPoints);
    } else if (xml_.hasError()) {
      file_.problem = QString(" is damaged at line %1: what stands before it is drawn").arg(xml_.lineNumber());
    } else if (skipped_ > 0) {
      file_.problem = QString(" holds points that are not on the earth, %1 of them: they are left out").arg(skipped_);
    }
    if (file_.isEmpty()) file_.problem = xml_.hasError() ? " is damaged" : " holds no tracks, routes or waypoints";
    return file_;
  }

 private:
  void takeElement() {
    const auto name = xml_.name();
    if (name == u"trkseg" || name == u"rte") {
      file_.lines.emplace_back();
    } else if (name == u"trkpt" || name == u"rtept") {
      const auto position = positionHere();
      if (file_.lines.empty()) file_.lines.emplace_back();
      if (position) file_.lines.back().push_back(*position);
    } else if (name == u"wpt") {
      takeWaypoint();
    }
  }

  void takeWaypoint() {
    const auto position = positionHere();
    QString name;
    while (xml_.readNextStartElement()) {
      if (xml_.name() == u"name") {
        name = xml_.readElementText(QXmlStreamReader::SkipChildElements).simplified().left(longestName);
      } else {
        xml_.skipCurrentElement();
      }
    }
    if (position) file_.waypoints.push_back({*position, name});
  }

  std::optional<Position> positionHere() {
    ++points_;
    bool north = false, east = false;
    const QXmlStreamAttributes attributes = xml_.attributes();
    const Position position{attributes.value("lat").toDouble(&north), attributes.value("lon").toDouble(&east)};
    // Written so that what is no number is refused as well.
    if (north && east && std::abs(position.latitude) <= 90 && std::abs(position.longitude) <= 180) return position;
    ++skipped_;
    return std::nullopt;
  }

  QXmlStreamReader xml_;
  GpxFile file_;
  std::size_t points_ = 0, skipped_ = 0;
};

}  // namespace

GpxFile readGpx(QIODevice& device) {
  return GpxReader(device).read();
}

GpxFile readGpx(const QString& path) {
  GpxFile nothing;
  WorkFile file(path);
  if (!QFileInfo(path).isFile()) {  // a device or a pipe might never end
    nothing.problem = " is no file";
  } else if (file.size() > largestFile) {
    nothing.problem = QString(" is larger than %1 MB").arg(largestFile / 1024 / 1024);
  } else if (!file.open(QIODevice::ReadOnly)) {
    nothing.problem = " cannot be read: " + file.errorString();
  } else {
    GpxFile read = readGpx(file);
    endIfCancelled();
    return read;
  }
  return nothing;
}

}  // namespace vellandra

#include "ui/viewer/gpx_file.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>
#include <algorithm>
#include <cmath>
#include <optional>

#include "support/work.h"

namespace vellandra {
namespace {

constexpr qint64 largestFile = 1 << 30;
constexpr std::size_t mostPoints = 500000;
constexpr qsizetype longestName = 60, longestNumber = 100;
/// Far more than any GPX file has. Within them the parser's time and memory stay in proportion to the file.
constexpr qint64 longestPiece = 128 << 10;  ///< of a tag, a text or a comment
constexpr qsizetype mostAttributes = 100;
constexpr int deepestElement = 100;

/// The bytes of a device, which ends where one piece of its XML grows too long.
class PieceDevice final : public QIODevice {
 public:
  explicit PieceDevice(QIODevice& whole) : whole_(whole) { open(ReadOnly | Unbuffered); }
  bool isSequential() const override { return true; }
  void beginPiece() { left_ = longestPiece; }

 protected:
  qint64 readData(char* data, qint64 size) override {
    const qint64 read = whole_.read(data, std::min(size, left_));
    left_ -= std::max<qint64>(read, 0);
    return read;
  }
  qint64 writeData(const char*, qint64) override { return -1; }

 private:
  QIODevice& whole_;
  qint64 left_ = longestPiece;
};

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
  explicit GpxReader(QIODevice& device) : device_(device), xml_(&device_) {
    xml_.setNamespaceProcessing(false);  // files name extensions by prefixes that they do not declare
  }

  GpxFile read() {
    while (next() && !xml_.isStartElement() && !xml_.isDTD()) {
    }
    if (!xml_.isStartElement() || name() != u"gpx") {
      file_.problem = " is no GPX file";
      return file_;
    }
    while (points_ < mostPoints && next()) {
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
  /// False at the end, and where the file cannot be read any further.
  bool next() {
    device_.beginPiece();
    xml_.readNext();
    if (xml_.isStartElement()) {
      ++depth_;
      if (depth_ > deepestElement || xml_.attributes().size() > mostAttributes) xml_.raiseError();
    } else if (xml_.isEndElement()) {
      --depth_;
    }
    return !xml_.atEnd() && !xml_.hasError();  // a device that fails has no end
  }

  /// Without its prefix.
  QStringView name() const {
    const QStringView name = xml_.qualifiedName();
    return name.mid(name.lastIndexOf(u':') + 1);
  }

  void takeElement() {
    if (name() == u"trkseg" || name() == u"rte") {
      beginLine();
    } else if (name() == u"trkpt" || name() == u"rtept") {
      const auto position = positionHere();
      if (file_.lines.empty()) beginLine();
      if (position) file_.lines.back().push_back(*position);
    } else if (name() == u"wpt") {
      takeWaypoint();
    }
  }

  void beginLine() {
    if (file_.lines.empty() || !file_.lines.back().empty()) file_.lines.emplace_back();
  }

  void takeWaypoint() {
    const auto position = positionHere();
    const int inside = depth_ + 1;
    QString text;
    bool isName = false;
    while (next() && depth_ >= inside - 1) {
      if (xml_.isStartElement() && depth_ == inside) {
        isName = name() == u"name";
        if (isName) text.clear();
      } else if (xml_.isCharacters() && depth_ == inside && isName) {
        text += xml_.text();
      }
    }
    if (position) file_.waypoints.push_back({*position, shortened(text.simplified())});
  }

  static QString shortened(QString text) {
    text.truncate(longestName);
    if (text.size() == longestName && text.back().isHighSurrogate()) text.chop(1);
    return text;
  }

  std::optional<Position> positionHere() {
    ++points_;
    const QXmlStreamAttributes attributes = xml_.attributes();
    const auto latitude = angle(attributes.value("lat"), 90), longitude = angle(attributes.value("lon"), 180);
    if (latitude && longitude) return Position{*latitude, *longitude};
    ++skipped_;
    return std::nullopt;
  }

  static std::optional<double> angle(QStringView text, double most) {
    bool isNumber = false;
    const double value = text.size() <= longestNumber ? text.toDouble(&isNumber) : 0;
    // Written so that what is no number is refused as well.
    return isNumber && std::abs(value) <= most ? std::optional(value) : std::nullopt;
  }

  PieceDevice device_;
  QXmlStreamReader xml_;
  GpxFile file_;
  int depth_ = 0;
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

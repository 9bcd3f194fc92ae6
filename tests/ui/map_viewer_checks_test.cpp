#include "ui/viewer_fixture.h"

namespace vellandra {
namespace {

TEST_F(MapViewerTest, PlaceGoneToIsShownOrSaidToLieBeside) {
  const struct {
    const char *typed, *answer;
    bool found;
  } rows[] = {
      {"49.5 10.3", "49.50000 10.30000 (WGS 84)\nPixel 300, 500", true},
      {"10\u00B018' E 49\u00B030' N", "\nPixel 300, 500", true},
      // PROJ 9.1, cs2cs to +proj=utm +zone=32 +datum=WGS84: the place of the first row
      {"32U 594128.6 5483852.9", "Pixel 300, 500", true},
      {"49.5 11.0", "is not on this map: it lies 7.3 km to the east of it", false},  // PROJ 9.1, geod
      {"49 9.9", "is not on this map: it lies 34.2 km to the south of it", false},
      {"-49.5 -170", "is not on this map: it lies", false},
      {"the church", "Positions look like", false},
  };
  givePoints(4);
  calibration.points[3].setPixel(100, 600);
  for (const auto& row : rows) {
    open(ViewerMode::view);
    next<GoToDialog>([&](GoToDialog& dialog) {
      dialog.findChild<QLineEdit*>()->setText(row.typed);
      QTest::keyClick(dialog.findChild<QLineEdit*>(), Qt::Key_Return);
      EXPECT_TRUE(dialog.isVisible()) << "for another one";
      EXPECT_TRUE(says(row.answer)) << row.typed << dialog.findChildren<QLabel*>().last()->text().toStdString();
      dialog.reject();
    });
    QTest::keyClick(canvas, Qt::Key_G, Qt::ControlModifier);
    EXPECT_LE(row.found ? (place(300, 500) - QRectF(canvas->rect()).center()).manhattanLength() : 0, 2) << row.typed;
    const QColor ring = canvas->grab().toImage().pixelColor((place(300, 500) + QPointF(11, 0)).toPoint());
    EXPECT_EQ(ring.green() > ring.red() + 60, row.found) << row.typed;
  }
}

TEST_F(MapViewerTest, TracksLieOnTheMapAndDamagedFilesAreAnswered) {
  const std::string
      head =
          "<?xml version='1.0'?><gpx xmlns='http://www.topografix.com/GPX/1/1'><wpt lat='49.5' lon='10.4'>"
          "<name>Hut</name></wpt><trk><trkseg><trkpt lat='49.8' lon='10.2'/><trkpt lat='49.8' "
          "lon='10.4'><ele>3</ele></trkpt></trkseg>",
      more = "<trkseg><trkpt lat='49.8' lon='10.6'/>", end = "</trkseg></trk></gpx>",
      deep = (QByteArray("<a>").repeated(200) + QByteArray("</a>").repeated(200)).toStdString();
  const struct {
    const char* name;
    std::string content;
    const char* says;
    bool drawn;
  } rows[] = {
      {"two segments", head + more + "<trkpt lat='49.8' lon='10.7'/>" + end, "", true},
      {"ends early", head + more, "way.gpx is damaged at line 1: what stands before it is drawn", true},
      {"a place that is none", head + more + "<trkpt lat='nan' lon='10.7'/>" + end,
       "way.gpx holds points that are not on the earth, 1 of them: they are left out", true},
      {"an extension whose prefix nobody declared", head + "<x:color>7</x:color>" + more + end, "", true},
      {"nested too deep", head + more + deep + end, "way.gpx is damaged at line 1: what stands before it is drawn",
       true},
      {"a tag longer than any", head + more + "<ele" + std::string(200000, ' ') + "/>" + end,
       "way.gpx is damaged at line 1: what stands before it is drawn", true},
      {"entities that would fill the memory", "<!DOCTYPE gpx [<!ENTITY a 'aaa'>]>" + head.substr(21) + more + end,
       "way.gpx is no GPX file", false},
      {"empty", "", "way.gpx is no GPX file", false},
      {"another document", "<kml/>", "way.gpx is no GPX file", false},
      {"without a track", "<gpx><trk/></gpx>", "way.gpx holds no tracks, routes or waypoints", false},
      {"damaged from the beginning", "<gpx><trk", "way.gpx is damaged", false},
      {"too many points",
       "<gpx><rte>" + QByteArray("<rtept lat='1' lon='1'/>").repeated(500001).toStdString() + "</rte></gpx>",
       "way.gpx holds more than 500000 points: the first are drawn", false},
      {"on another map", "<gpx><rte><rtept lat='1' lon='1'/></rte></gpx>", "way.gpx has no point on this map", false},
  };
  givePoints(4);
  calibration.points[3].setPixel(100, 600);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    open(ViewerMode::view);
    canvas->centreOnPixel(400, 300);
    writeTestFile(folder + "way.gpx", row.content);
    person.boxes.clear();
    person.pickedFiles = {folder + "way.gpx"};
    QTest::keyClick(canvas, Qt::Key_T, Qt::ControlModifier);
    EXPECT_EQ(person.boxes.empty() ? "" : person.boxes.back().text, row.says);
    const QImage image = canvas->grab().toImage();
    const auto orange = [&](int x, int y) {
      const QColor color = image.pixelColor(place(x, y).toPoint());
      return color.red() > 180 && color.blue() < 40;
    };
    EXPECT_EQ(orange(300, 200), row.drawn) << "along a segment";
    EXPECT_EQ(orange(400, 500), row.drawn) << "the waypoint";
    EXPECT_FALSE(orange(500, 200)) << "between two segments";
  }
}

}  // namespace
}  // namespace vellandra

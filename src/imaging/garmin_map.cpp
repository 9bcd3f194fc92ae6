#include "imaging/garmin_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/preferences.h"
#include "imaging/garmin_archive.h"
#include "imaging/garmin_overlay.h"
#include "imaging/tile_files.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

// What the maker says of these maps: an image is shown at full detail up to a megapixel and is to stay under 3 MB; a
// device loads 100 images, newer ones 500.
constexpr std::int64_t fullDetail = std::int64_t{1024} * 1024;
constexpr int tilesOfEveryDevice = 100;
constexpr double megabyte = 1e6;
constexpr double largestTileFile = 3 * megabyte;

struct GarminFiles : TileFiles {
  std::string imagesFolder() const { return tilesFolder() + "/files"; }
  std::string kmlPath() const { return tilesFolder() + "/doc.kml"; }
  std::string archivePath() const { return folder + base + ".kmz"; }
};

/// The tiles to write: those that are ticked.
struct Selection {
  GarminTileControls controls;
  TileGrid grid;
};

/// Nothing when the person closes the dialog.
std::optional<Selection> selectTiles() {
  const std::int32_t width = calibration.imageWidth;
  const std::int32_t height = calibration.imageHeight;
  const TileSize preferred{preferences.tileWidth, preferences.tileHeight};
  GarminTileControls controls(width, height, preferred);
  TileSize size = preferred;
  if (isBelowOneTile(width, height, preferred)) {
    size = {width, height};
  } else if (preferences.advancedGarminMapping) {
    userInterface().askGarminTiles(controls);
    if (!controls.isConfirmed()) return std::nullopt;
    size = controls.tileSize();
  }
  return Selection{controls, garminTileGrid(width, height, size)};
}

void noteDeviceLimits(const Selection& tiles, const GarminFiles& files, double rotation) {
  std::int64_t largest = 0;
  std::int64_t count = 0;
  double worst = 0;
  std::string misplaced;
  for (std::int64_t number = 1; number <= tiles.grid.count(); ++number) {
    if (!tiles.controls.isTicked(number)) continue;
    const Tile tile = tiles.grid.tile(number);
    largest = std::max(largest, std::int64_t{tile.right - tile.left} * (tile.bottom - tile.top));
    const double error = placementError(tile, overlayBox(tile, rotation));
    worst = std::max(worst, error);
    if (error > 1) misplaced += (misplaced.empty() ? "" : ", ") + files.tileName(tile);
    ++count;
  }
  if (largest > fullDetail) showMessage("Tiles above one megapixel are shown at reduced detail");
  if (count > tilesOfEveryDevice) {
    showMessage(std::to_string(count) + " tiles: many devices load only the first 100, newer ones 500");
  }
  if (!misplaced.empty()) {
    showMessage("A box and a rotation cannot place this map's tiles exactly: they are up to " +
                (std::isfinite(worst) ? formatNumber(worst, "###0.0") : "very many") +
                " pixels off, smaller tiles are closer: " + misplaced);
  }
}

/// Library flags for the preference 1 to 5; its default quality for others.
int jpegFlags() {
  constexpr std::array<int, 5> flags{jpegBad, jpegAverage, jpegNormal, jpegGood, jpegSuperb};
  const int quality = preferences.garminJpegQuality;
  return quality >= 1 && quality <= 5 ? flags[static_cast<std::size_t>(quality - 1)] : 0;
}

struct WrittenTiles {
  std::string failure;  ///< why it stopped; empty at the end
  std::set<std::string> names;
  std::string largestName;
  std::size_t largestBytes = 0;
};

/// The tiles and, in `kml`, their overlays as far as it gets.
WrittenTiles writeTiles(const Bitmap& map, const Selection& tiles, const GarminFiles& files, double rotation,
                        GrowingFile& kml) {
  WrittenTiles written;
  const std::string noKml = "unable to write " + kml.path();
  const auto stop = [&written](const std::string& why) {
    written.failure = why;
    return written;
  };
  if (!kml.add(kmlHead(files.base))) return stop(noKml);
  const int flags = jpegFlags();
  const auto isTicked = [&](std::int64_t number) { return tiles.controls.isTicked(number); };
  const auto pathOf = [&](const Tile& tile) { return files.imagesFolder() + "/" + files.tileName(tile) + ".jpg"; };
  TileEncoder encoder(map, tiles.grid, isTicked, pathOf, ImageFormat::jpeg, flags);
  ColumnProgress progress(tiles.grid);
  while (const std::optional<EncodedTile> tile = encoder.next()) {
    progress.atTile(tile->number);
    if (!tile->copied) return stop("Unable to tile map");
    const std::string name = files.tileName(tile->tile);
    writeLog(tile->path);
    writeLog("Jpeg quality " + std::to_string(flags));
    if (!tile->save()) return stop("unable to save " + tile->path);
    if (!kml.add(kmlOverlay(name, overlayBox(tile->tile, rotation)))) return stop(noKml);
    written.names.insert(name + ".jpg");
    if (tile->image.bytes.size() > written.largestBytes) {
      written.largestBytes = tile->image.bytes.size();
      written.largestName = name + ".jpg";
    }
  }
  return kml.add(kmlEnd()) && kml.close() ? written : stop(noKml);
}

void noteWrittenFiles(const WrittenTiles& written, const std::string& imagesFolder) {
  const auto bytes = static_cast<double>(written.largestBytes);
  if (bytes > largestTileFile) {
    showMessage("A tile should stay under 3 MB: " + written.largestName + " has " +
                formatNumber(bytes / megabyte, "###0.0") + " MB");
  }
  std::error_code error;
  std::int64_t others = -static_cast<std::int64_t>(written.names.size());
  for (std::filesystem::directory_iterator entries(imagesFolder, error), end; !error && entries != end;
       entries.increment(error)) {
    ++others;
  }
  if (others > 0) {
    showMessage(std::to_string(others) + " other files are in " + imagesFolder + ", and go into an archive of it");
  }
}

/// Starts 7-Zip where the person has located it.
bool pack(const GarminArchive& archive, const GarminFiles& files) {
  const bool known = !preferences.sevenZipPath.empty();
  const bool done = !known || archive.pack(files.kmlPath(), files.imagesFolder() + "/");
  if (done) showMessage("Done Garmin Custom map");
  if (!known) {
    showMessage(
        "No .kmz was made, which takes the program 7-Zip: install it, choose Edit > Locate 7-Zip program and "
        "write the map again");
  }
  if (!known || !done) archive.noteNotOfThisRun();
  return done;
}

bool writeCustomMap() {
  const std::optional<TileFiles> place = tileFilesOfOpenMap();
  if (!place) return false;
  const GarminFiles files{*place};
  const GarminArchive archive(files.archivePath());
  if (archive.isBeingPacked()) return stopTiles("7-Zip is still packing " + files.archivePath());
  archive.recover();
  const std::optional<Selection> tiles = selectTiles();
  if (!tiles) return false;
  const double rotation = mapRotation();
  noteDeviceLimits(*tiles, files, rotation);
  showMessage("Tiles " + std::to_string(tiles->grid.across()) + " by " + std::to_string(tiles->grid.down()));
  if (!makeTileFolder(files.tilesFolder()) || !makeTileFolder(files.imagesFolder())) return false;
  showMessage("Writing tiles to " + files.imagesFolder());

  Bitmap map = loadMapForTiles();
  if (!map) return false;
  showMessage("Rotation " + formatGeneral(rotation));
  // Opened before the first tile, so that a document of an earlier run never stays beside tiles of this one.
  GrowingFile kml(files.kmlPath());
  std::ptrdiff_t removed = 0;
  WrittenTiles written;
  const std::string failure = writeInWork(
      [&] {
        written = writeTiles(map, *tiles, files, rotation, kml);
        return written.failure;
      },
      [&] { removed = removeEarlierTiles(files, files.imagesFolder(), ".jpg", written.names); });
  map.reset();
  if (!failure.empty()) return stopTiles(failure);
  showMessage("Tiles and doc.kml file written");
  noteRemovedTiles(removed, files.imagesFolder());
  const bool done = pack(archive, files);
  noteWrittenFiles(written, files.imagesFolder());
  return done;
}

}  // namespace

bool WriteGarminCustomMap() {
  return leavingNothingWhenCancelled(writeCustomMap);
}

}  // namespace vellandra

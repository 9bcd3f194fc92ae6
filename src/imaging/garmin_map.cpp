#include "imaging/garmin_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "calibration/calibration.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/preferences.h"
#include "imaging/garmin_overlay.h"
#include "imaging/tile_files.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/process.h"
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

void noteDeviceLimits(const Selection& tiles, double rotation) {
  std::int64_t largest = 0;
  std::int64_t count = 0;
  double error = 0;
  for (std::int64_t number = 1; number <= tiles.grid.count(); ++number) {
    if (!tiles.controls.isTicked(number)) continue;
    const Tile tile = tiles.grid.tile(number);
    largest = std::max(largest, std::int64_t{tile.right - tile.left} * (tile.bottom - tile.top));
    error = std::max(error, placementError(tile, overlayBox(tile, rotation)));
    ++count;
  }
  if (largest > fullDetail) showMessage("Tiles above one megapixel are shown at reduced detail");
  if (count > tilesOfEveryDevice) {
    showMessage(std::to_string(count) + " tiles: many devices load only the first 100, newer ones 500");
  }
  if (error > 1) {
    showMessage("A box and a rotation cannot place this map's tiles exactly: corners are up to " +
                (std::isfinite(error) ? formatNumber(error, "###0.0") : "very many") + " pixels off");
  }
}

/// Library flags for the preference 1 to 5; its default quality for others.
int jpegFlags() {
  constexpr std::array<int, 5> flags{jpegBad, jpegAverage, jpegNormal, jpegGood, jpegSuperb};
  const int quality = preferences.garminJpegQuality;
  return quality >= 1 && quality <= 5 ? flags[static_cast<std::size_t>(quality - 1)] : 0;
}

struct WrittenTiles {
  std::string kml;      ///< the document as far as it got
  std::string failure;  ///< why it stopped; empty at the end
  std::int64_t count = 0;
  std::string largestName;
  std::size_t largestBytes = 0;
};

WrittenTiles writeTiles(const Bitmap& map, const Selection& tiles, const GarminFiles& files, double rotation) {
  WrittenTiles written;
  written.kml = kmlHead(files.base);
  const int flags = jpegFlags();
  const auto isTicked = [&](std::int64_t number) { return tiles.controls.isTicked(number); };
  TileEncoder encoder(map, tiles.grid, isTicked, ImageFormat::jpeg, flags);
  ColumnProgress progress(tiles.grid);
  while (const std::optional<EncodedTile> tile = encoder.next()) {
    progress.atTile(tile->number);
    if (!tile->copied) {
      written.failure = "Unable to tile map";
      return written;
    }
    const std::string name = files.tileName(tile->tile);
    const std::string path = files.imagesFolder() + "/" + name + ".jpg";
    writeLog(path);
    writeLog("Jpeg quality " + std::to_string(flags));
    if (!saveEncodedImage(tile->image, path)) {
      written.failure = "unable to save " + path;
      return written;
    }
    written.kml += kmlOverlay(name, overlayBox(tile->tile, rotation));
    ++written.count;
    if (tile->image.bytes.size() > written.largestBytes) {
      written.largestBytes = tile->image.bytes.size();
      written.largestName = name + ".jpg";
    }
  }
  written.kml += kmlEnd();
  return written;
}

void noteWrittenFiles(const WrittenTiles& written, const std::string& imagesFolder) {
  const auto bytes = static_cast<double>(written.largestBytes);
  if (bytes > largestTileFile) {
    showMessage("A tile should stay under 3 MB: " + written.largestName + " has " +
                formatNumber(bytes / megabyte, "###0.0") + " MB");
  }
  std::error_code error;
  std::int64_t others = -written.count;
  for (std::filesystem::directory_iterator entries(imagesFolder, error), end; !error && entries != end;
       entries.increment(error)) {
    ++others;
  }
  if (others > 0) {
    showMessage(std::to_string(others) + " other files are in " + imagesFolder + ", perhaps from an earlier run");
  }
}

/// Moves an archive of an earlier run out of the way: 7-Zip would add to it, and tiles of then would stay in it.
/// Returns where it is; empty when there was none.
std::string setAside(const std::string& archive) {
  std::error_code error;
  const std::string aside = archive + ".vellandra-old";
  if (!std::filesystem::is_regular_file(archive, error)) return {};
  std::filesystem::rename(archive, aside, error);
  return error ? std::string() : aside;
}

/// The new archive is there, and the old one goes; or there is none, and the old one comes back.
void settleArchives(const std::string& archive, const std::string& aside, bool packed) {
  if (aside.empty()) return;
  std::error_code error;
  if (packed) {
    std::filesystem::remove(aside, error);
  } else {
    std::filesystem::rename(aside, archive, error);
  }
}

bool pack(const GarminFiles& files) {
  const std::string archive = files.archivePath();
  const std::string images = files.imagesFolder() + "/";
  showMessage("\"" + preferences.sevenZipPath + "\" a -tzip -mx0 \"" + archive + " \" \"" + files.kmlPath() + "\" \"" +
              images + "\"");
  const std::string program = findFile(preferences.sevenZipPath);
  const std::string old = setAside(archive);
  // Without the blank behind the archive's name, which would become part of it here.
  const auto settle = [archive, old](bool packed) { settleArchives(archive, old, packed); };
  if (program.empty() || !startProgram({program, "a", "-tzip", "-mx0", archive, files.kmlPath(), images}, settle)) {
    settle(false);
    return stopTiles("Call to 7-Zip failed");
  }
  return true;
}

}  // namespace

bool WriteGarminCustomMap() {
  const std::optional<TileFiles> place = tileFilesOfOpenMap();
  if (!place) return false;
  const GarminFiles files{*place};
  const std::optional<Selection> tiles = selectTiles();
  if (!tiles) return false;
  showMessage("Tiles " + std::to_string(tiles->grid.across()) + " by " + std::to_string(tiles->grid.down()));
  const double rotation = mapRotation();
  noteDeviceLimits(*tiles, rotation);
  if (!makeTileFolder(files.tilesFolder()) || !makeTileFolder(files.imagesFolder())) return false;
  showMessage("Writing tiles to " + files.imagesFolder());

  Bitmap map = loadMapForTiles();
  if (!map) return false;
  showMessage("Rotation " + formatGeneral(rotation));
  const WrittenTiles written = writeTiles(map, *tiles, files, rotation);
  map.reset();
  const bool placed = writeWholeFile(files.kmlPath(), written.kml);
  if (!written.failure.empty()) return stopTiles(written.failure);
  if (!placed) return stopTiles("unable to write " + files.kmlPath());
  noteWrittenFiles(written, files.imagesFolder());
  showMessage("Tiles and doc.kml file written");
  if (!preferences.sevenZipPath.empty() && !pack(files)) return false;
  showMessage("Done Garmin Custom map");
  return true;
}

}  // namespace vellandra

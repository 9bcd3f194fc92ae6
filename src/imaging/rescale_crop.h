#pragma once

namespace vellandra {

/// The command " Rescale map and save": asks for a percentage from 10 to 90 and a name, and saves the open map's image,
/// resampled, with its calibration. The open map stays as it is. Returns whether a map was saved; if not, the person
/// has cancelled or been told why.
bool rescaleMap();

/// The command " Crop map and save": the same for a rectangle of the open map's image.
bool cropMap();

}  // namespace vellandra

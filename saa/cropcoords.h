// Texture coordinates relative to a crop rectangle.
#pragma once

// The coordinate within the crop from which a reader that works out, with scale = (cropMax - cropMin) / size and
// offset = cropMin / size in floats, scale times coordinate plus offset rounded once to float, comes closest to
// `whole`, the coordinate in the whole image. From 0 on, that is `whole` to one unit in the last place; 0 for a crop
// of a single pixel. `whole` must be finite, and so is the result.
float CropCoordinate(float whole, int cropMin, int cropMax, int size);

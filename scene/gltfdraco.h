// KHR_draco_mesh_compression: primitives whose vertices and triangles are compressed.
#pragma once

#include "scene/gltfdocument.h"

// Decompresses each such primitive into buffers, views and accessors of its own, which it then refers to. False with
// the end of a sentence in `error` if one makes no sense.
bool DecompressDraco(GltfDocument& document, std::string& error);

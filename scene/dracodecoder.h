// The decoder of KHR_draco_mesh_compression, in a library that is loaded when a file needs it.
#pragma once

#include "scene/gltfdocument.h"

#include <string>

// Decompresses a primitive of the document, which has that extension, into buffers, views and accessors of its own,
// which it then refers to. False with the end of a sentence in `error` if it makes no sense.
extern "C" bool ZoltDecompressDraco(GltfDocument& document, const tinygltf::Value& extension,
                                    tinygltf::Primitive& primitive, std::string& error);

// EXT_meshopt_compression: buffer views whose bytes are compressed.
#pragma once

#include "scene/gltfdocument.h"

// Decompresses each such view of the document into a buffer of its own, which the view then refers to. False with the
// end of a sentence in `error` if one makes no sense. No more memory is asked for than a multiple of the input.
bool DecompressMeshopt(nlohmann::json& json, GltfDocument& document, std::string& error);

// Whether a buffer only stands for what compressed views hold, and needs no bytes.
bool IsMeshoptFallback(const nlohmann::json& buffer);

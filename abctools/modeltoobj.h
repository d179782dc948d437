#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>
#include <string>
#include <vector>

ZOLT_BEGIN_NAMESPACE
class Model;
ZOLT_END_NAMESPACE

// The model's LOD 0 in the bind pose as a Wavefront OBJ file, mirrored back in z: an object for each piece, with
// normals and texture coordinates, whose v counts from the bottom there and is 1 - v. False, with the end of a sentence
// about the model, if it holds numbers that aren't finite.
bool ModelToObj(Model& model, std::vector<uint8_t>& bytes, std::string& error);

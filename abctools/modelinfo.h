// What a loaded model holds, as JSON and as text.
#pragma once

#include "engine/model/src/modelallocations.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <span>
#include <string>

ZOLT_BEGIN_NAMESPACE
class Model;
ZOLT_END_NAMESPACE

// nBytes is the length of the file, `header` what stands in it. Text is made valid UTF-8; numbers that aren't finite
// become null when the document is written.
//
//   version, bytes, stamp, command, headerValue, lods, lodDistances
//   counts        the header's 13 counts
//   nodes         name, parent (-1 for the root), flags; in pre-order
//   pieces        name, texture, params, tris, verts, weights (of LOD 0), lods: the same three of every LOD
//   anims         name, keys, last (the last key's time in ms), dims, offset, commands: key index and text
//   sockets       name, node, position, rotation (x, y, z, w)
//   weightSets    name, values by node
//   childModels   name, stamp; the first is SELF
//   settings      what the command string sets, by its keywords with a small first letter
nlohmann::ordered_json ModelInfo(Model& model, size_t nBytes, const ModelAllocations& header);

// What the command string has set, by keyword with a small first letter: switches are booleans, offsets of the field of
// view radians or null, normalRef is null or names the node and the animation and gives the matrix.
nlohmann::ordered_json ModelSettings(Model& model);

// The memory that a load of the file takes:
//   load, allocations       bytes and number of requests of a plain load
//   announced               the upper bound that the header's counts give
//   block, blockUsed        size of the one block of a one-block load, and the bytes used in it
//   blockAllocations        requests to the allocator behind the block
// or an "error" in place of the last three.
nlohmann::ordered_json ModelMemory(std::span<const uint8_t> bytes);

// A page for a reader at a terminal out of the document of ModelInfo (with "memory" if it is there). Of the settings
// only those that differ from a fresh model's.
std::string ModelInfoText(const nlohmann::ordered_json& info);

// The "bounds" of that document: what the vertices really take, in all, at rest, and over each animation. Null for a
// model without any.
nlohmann::ordered_json BoundsInfo(const Model& model);

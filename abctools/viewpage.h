// A page for a web browser that shows models.
#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

ZOLT_BEGIN_NAMESPACE
class Model;
ZOLT_END_NAMESPACE

// What the page knows of one model: "file" and "name" (the path and its last part), "info" (what ModelInfo gives),
// "missing" (the links whose child models aren't there) and "data": the following arrays, little-endian, each filled up
// to a multiple of four bytes, in Base64.
//
//   bind matrices       16 floats a node, row after row
//   fixed offsets       3 floats a node: its place in its parent in the bind pose
//   for each LOD of each piece
//     corners           3 16-bit vertices a triangle
//     coordinates       6 floats a triangle: u, v of its corners
//     positions         3 floats a vertex
//     normals           3 floats a vertex
//     weight counts     16 bits a vertex
//     weight nodes      16 bits a weight
//     weights           4 floats a weight: the vertex in the node's space times the share, the share
//   for each link
//     whether there are relations other than the identity: 32 bits; then 7 floats a node (translation, rotation)
//   for each animation
//     its link, whether its tracks are there: 2 × 32 bits. They aren't if the child model's tree differs.
//     key times         32 bits a key
//     constant          a byte a node, with 1 where all keys are the same bits (if the tracks are there)
//     tracks            7 floats a key, node by node; one key where it is constant
nlohmann::ordered_json ViewFile(Model& model, const std::string& path, const nlohmann::ordered_json& info);

// An image as the address of an <img>, by what its bytes begin with; empty if they are none that browsers show.
std::string ImageAddress(std::span<const uint8_t> bytes);

// The whole page. `files` are those of ViewFile, `textures` are image addresses by texture index. Empty in a program
// that was built without the page.
std::string MakeViewPage(const nlohmann::ordered_json& files, const nlohmann::ordered_json& textures);

// True of the first bytes of a page that MakeViewPage made.
bool IsViewPage(std::string_view begin);

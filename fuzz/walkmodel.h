// Uses a model that was loaded from any bytes.
#pragma once

#include "engine/model/src/model.h"

#include <span>
#include <vector>

uint32_t LoadModel(Model& model, std::span<const uint8_t> bytes, LoadRequest request = LoadRequest());

// As after Term.
bool IsEmptyModel(Model& model);

// Requires that every index of a loaded model is in range and every table has its size; then evaluates every key, the
// vertices of every LOD, the sockets and the weight sets.
void WalkModel(Model& model);

std::vector<uint8_t> SaveModel(Model& model);

// Saves a loaded model, loads what was written and, without linked children, requires the same poses and the same bytes
// when that is saved. Offsets of animations that can't be told apart by name go to 0.
void CheckRoundTrip(Model& model);

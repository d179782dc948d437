// What the fuzzers run. Each target takes any bytes, uses what comes out of them to the full, and ends the process when
// a promise is broken.
#pragma once

#include <cstdint>
#include <span>

// A model file: load, walk, save, load again; once more with child models, if it has links.
void FuzzModel(std::span<const uint8_t> bytes);
// A model file into one block, twice.
void FuzzBlock(std::span<const uint8_t> bytes);
// A command string: the tokenizer, and the settings of a small model.
void FuzzCommand(std::span<const uint8_t> bytes);
// A .gltf or .glb file: the scene, and what is recorded of it. Not for several threads.
void FuzzGltf(std::span<const uint8_t> bytes);

struct FuzzTarget
{
    const char* m_pName; // of the corpus folder, too
    void (*m_pRun)(std::span<const uint8_t> bytes);
};

constexpr FuzzTarget g_FuzzTargets[] = {
    {"model", FuzzModel}, {"block", FuzzBlock}, {"command", FuzzCommand}, {"gltf", FuzzGltf}};

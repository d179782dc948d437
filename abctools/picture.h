// A picture of a model, drawn without a graphics card.
#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

ZOLT_BEGIN_NAMESPACE
class Model;
ZOLT_END_NAMESPACE

struct PictureOptions
{
    std::string m_Path;
    std::string m_OutPath;
    std::string m_Anim;   // empty: the first one
    double m_Time = 0.0;  // milliseconds, clamped to the animation
    uint32_t m_Width = 0; // of one pose; 0 for what suits
    uint32_t m_Height = 0;
    uint32_t m_nStrip = 0; // so many poses side by side, from the animation's start to its end
    bool m_bJson = false;
    std::function<void(size_t nDone, size_t nAll)> m_Progress = [](size_t, size_t) {};
};

constexpr uint32_t MAX_PICTURE_SIZE = 16384; // of the whole picture, along each side
constexpr uint32_t MAX_PICTURE_STRIP = 64;

struct Picture
{
    uint32_t m_Width = 0;
    uint32_t m_Height = 0;
    std::vector<uint8_t> m_Pixels; // rows from the top, of sRGB bytes
    std::vector<double> m_Times;   // of the poses, in milliseconds
};

// Draws the model, or the skeleton of one without triangles, seen from its right front, so that all that the animation
// reaches is in the picture. Where a figure leaves its place, the camera goes along. A model without animations is
// shown in its bind pose. `error` is the end of a sentence.
bool DrawPicture(Model& model, const PictureOptions& options, Picture& picture, std::string& error);

// The picture as a PNG; empty without memory.
std::vector<uint8_t> PngBytes(const Picture& picture);

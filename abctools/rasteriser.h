#pragma once

#include "zoltshared/stdzolt/vector3.h"

#include <cstdint>
#include <vector>

// A corner of a triangle on its way into a picture.
struct RasterCorner
{
    float m_X = 0.0f; // pixels from the left
    float m_Y = 0.0f; // pixels from the top
    float m_W = 1.0f; // distance from the camera along its view, above 0
    Vector3 m_vNormal{0.0f, 0.0f, 0.0f};
};

// Draws triangles into a picture of linear red, green and blue, nearest surface first. Every pixel is made of several
// samples on a grid, which smooths the edges.
class Rasteriser
{
public:
    Rasteriser(uint32_t width, uint32_t height);

    // A triangle with the normals of its corners (those of length 0 are made up for by `vFace`, its own), which turn
    // with the surface: both sides are lit. vColor is linear.
    void Draw(const RasterCorner (&corners)[3], const Vector3& vFace, const Vector3& vColor);
    // The same for a shadow on whatever background there is: counted where nothing else is, blurred by BlurShadow.
    void DrawShadow(const RasterCorner (&corners)[3]);
    // Spreads the shadow over so many pixels.
    void BlurShadow(float radius);

    // The finished picture on a background that goes from one colour at the top to another at the bottom: rows of sRGB
    // bytes, from the top.
    std::vector<uint8_t> Resolve(const Vector3& vTop, const Vector3& vBottom, float shadow) const;

private:
    template <class Plot> void Fill(const RasterCorner (&corners)[3], Plot plot) const;
    Vector3 Shade(const Vector3& vNormal, const Vector3& vColor) const;

    uint32_t m_nGrid; // samples along each side of a pixel
    uint32_t m_Width; // in pixels
    uint32_t m_Height;
    uint32_t m_nColumns; // in samples
    uint32_t m_nRows;
    std::vector<float> m_Nearness; // 1 / distance; 0 where there is nothing
    std::vector<Vector3> m_Colors;
    std::vector<float> m_Shadow; // by pixel
};

#include "abctools/rasteriser.h"

#include <algorithm>
#include <cmath>

static constexpr uint64_t MOST_SAMPLES = 40'000'000; // larger pictures have fewer samples a pixel
static constexpr uint32_t MOST_GRID = 4;

static uint32_t GridFor(uint32_t width, uint32_t height)
{
    uint32_t n = MOST_GRID;
    while (n > 1 && uint64_t{width} * height * n * n > MOST_SAMPLES)
        --n;
    return n;
}

Rasteriser::Rasteriser(uint32_t width, uint32_t height)
    : m_nGrid(GridFor(width, height)), m_Width(width), m_Height(height), m_nColumns(width * m_nGrid),
      m_nRows(height * m_nGrid), m_Nearness(size_t{m_nColumns} * m_nRows), m_Colors(m_Nearness.size()),
      m_Shadow(size_t{width} * height)
{
}

static float Dot(const Vector3& a, const Vector3& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Calls plot(sample, nearness, share of corner 0, of corner 1, of corner 2) for each sample that the triangle covers.
// The shares are those on the surface itself, not on the picture.
template <class Plot> void Rasteriser::Fill(const RasterCorner (&corners)[3], Plot plot) const
{
    const float grid = static_cast<float>(m_nGrid);
    float x[3], y[3];
    for (int i = 0; i < 3; ++i)
    {
        x[i] = corners[i].m_X * grid;
        y[i] = corners[i].m_Y * grid;
    }
    const float area = (x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0]);
    const auto range = [](const float(&values)[3], uint32_t limit, uint32_t& first, uint32_t& last)
    {
        const auto [least, greatest] = std::minmax({values[0], values[1], values[2]});
        const float end = static_cast<float>(limit);
        first = static_cast<uint32_t>(std::clamp(std::floor(least), 0.0f, end));
        last = static_cast<uint32_t>(std::clamp(std::ceil(greatest), 0.0f, end));
    };
    uint32_t left = 0, right = 0, top = 0, bottom = 0;
    if (!std::isfinite(area) || area == 0.0f)
        return;
    range(x, m_nColumns, left, right);
    range(y, m_nRows, top, bottom);
    const float nearness[3] = {1.0f / corners[0].m_W, 1.0f / corners[1].m_W, 1.0f / corners[2].m_W};
    for (uint32_t row = top; row < bottom; ++row)
    {
        const float py = static_cast<float>(row) + 0.5f;
        for (uint32_t column = left; column < right; ++column)
        {
            const float px = static_cast<float>(column) + 0.5f;
            const float a = ((x[1] - px) * (y[2] - py) - (x[2] - px) * (y[1] - py)) / area;
            const float b = ((x[2] - px) * (y[0] - py) - (x[0] - px) * (y[2] - py)) / area;
            const float c = 1.0f - a - b;
            if (a < 0.0f || b < 0.0f || c < 0.0f)
                continue;
            const float near = a * nearness[0] + b * nearness[1] + c * nearness[2];
            plot(size_t{row} * m_nColumns + column, near, a * nearness[0] / near, b * nearness[1] / near,
                 c * nearness[2] / near);
        }
    }
}

// A warm light from above the camera's right, a cool one from behind, and a sky.
Vector3 Rasteriser::Shade(const Vector3& vNormal, const Vector3& vColor) const
{
    constexpr float KEY[3] = {0.397f, 0.750f, 0.529f}, RIM[3] = {-0.597f, 0.398f, -0.697f};
    const float length = std::sqrt(Dot(vNormal, vNormal));
    const float scale = length > 0.0f ? 1.0f / length : 0.0f;
    const float x = vNormal.x * scale, y = vNormal.y * scale, z = vNormal.z * scale;
    const float key = std::max(0.0f, x * KEY[0] + y * KEY[1] + z * KEY[2]);
    const float rim = std::max(0.0f, x * RIM[0] + y * RIM[1] + z * RIM[2]);
    const float sky = 0.5f + 0.5f * y;
    return Vector3(vColor.x * (0.16f + 0.26f * sky + 0.68f * key + 0.16f * rim),
                   vColor.y * (0.16f + 0.27f * sky + 0.65f * key + 0.19f * rim),
                   vColor.z * (0.17f + 0.29f * sky + 0.60f * key + 0.24f * rim));
}

void Rasteriser::Draw(const RasterCorner (&corners)[3], const Vector3& vFace, const Vector3& vColor)
{
    Vector3 normals[3];
    for (int i = 0; i < 3; ++i)
    {
        const Vector3& v = corners[i].m_vNormal;
        normals[i] = Dot(v, v) > 0.0f ? v : vFace;
    }
    Fill(corners,
         [&](size_t sample, float near, float a, float b, float c)
         {
             if (near <= m_Nearness[sample])
                 return;
             m_Nearness[sample] = near;
             m_Colors[sample] = Shade(Vector3(a * normals[0].x + b * normals[1].x + c * normals[2].x,
                                              a * normals[0].y + b * normals[1].y + c * normals[2].y,
                                              a * normals[0].z + b * normals[1].z + c * normals[2].z),
                                      vColor);
         });
}

void Rasteriser::DrawShadow(const RasterCorner (&corners)[3])
{
    Fill(corners,
         [&](size_t sample, float, float, float, float)
         {
             const size_t row = sample / m_nColumns / m_nGrid, column = sample % m_nColumns / m_nGrid;
             m_Shadow[row * m_Width + column] = 1.0f;
         });
}

// Means over 2n + 1 values, along lines of `count` values that lie `step` apart.
static void Average(std::vector<float>& values, size_t first, size_t step, uint32_t count, uint32_t n)
{
    std::vector<float> line(count);
    float sum = 0.0f;
    for (uint32_t i = 0; i < count; ++i)
        line[i] = values[first + i * step];
    for (uint32_t i = 0; i < std::min(n, count); ++i)
        sum += line[i];
    for (uint32_t i = 0; i < count; ++i)
    {
        sum += i + n < count ? line[i + n] : 0.0f;
        sum -= i > n ? line[i - n - 1] : 0.0f;
        values[first + i * step] = std::max(sum, 0.0f) / static_cast<float>(2 * n + 1);
    }
}

void Rasteriser::BlurShadow(float radius)
{
    // Three means make a bell.
    const uint32_t n = std::max(1u, static_cast<uint32_t>(radius));
    for (int pass = 0; pass < 3; ++pass)
    {
        for (uint32_t row = 0; row < m_Height; ++row)
            Average(m_Shadow, size_t{row} * m_Width, 1, m_Width, n);
        for (uint32_t column = 0; column < m_Width; ++column)
            Average(m_Shadow, column, m_Width, m_Height, n);
    }
}

static uint8_t ToSrgb(float linear)
{
    const float value = std::clamp(linear, 0.0f, 1.0f);
    const float encoded = value <= 0.0031308f ? 12.92f * value : 1.055f * std::pow(value, 1.0f / 2.4f) - 0.055f;
    return static_cast<uint8_t>(std::lround(encoded * 255.0f));
}

std::vector<uint8_t> Rasteriser::Resolve(const Vector3& vTop, const Vector3& vBottom, float shadow) const
{
    std::vector<uint8_t> bytes;
    bytes.reserve(size_t{3} * m_Width * m_Height);
    const float nSamples = static_cast<float>(m_nGrid * m_nGrid);
    for (uint32_t row = 0; row < m_Height; ++row)
    {
        const float t = (static_cast<float>(row) + 0.5f) / static_cast<float>(m_Height);
        for (uint32_t column = 0; column < m_Width; ++column)
        {
            const float light = 1.0f - shadow * m_Shadow[size_t{row} * m_Width + column];
            const Vector3 vBack((vTop.x + (vBottom.x - vTop.x) * t) * light,
                                (vTop.y + (vBottom.y - vTop.y) * t) * light,
                                (vTop.z + (vBottom.z - vTop.z) * t) * light);
            float sum[3] = {};
            for (uint32_t i = 0; i < m_nGrid * m_nGrid; ++i)
            {
                const size_t sample =
                    (size_t{row} * m_nGrid + i / m_nGrid) * m_nColumns + size_t{column} * m_nGrid + i % m_nGrid;
                const Vector3& v = m_Nearness[sample] > 0.0f ? m_Colors[sample] : vBack;
                sum[0] += v.x, sum[1] += v.y, sum[2] += v.z;
            }
            for (const float value : sum)
                bytes.push_back(ToSrgb(value / nSamples));
        }
    }
    return bytes;
}

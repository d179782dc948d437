#include "abctools/picture.h"

#include "abctools/commands.h"
#include "abctools/rasteriser.h"
#include "tests/abctools/testmodel.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>

static int Red(const std::vector<uint8_t>& pixels, uint32_t width, uint32_t x, uint32_t y)
{
    return pixels[size_t{3} * (y * width + x)];
}

TEST(Rasteriser, NearestSurfaceShowsAndEdgesAreMixed)
{
    const Vector3 vUp(0.0f, 1.0f, 0.0f), vBright(1.0f, 1.0f, 1.0f), vDark(0.02f, 0.02f, 0.02f);
    const Vector3 vBlack(0.0f, 0.0f, 0.0f);
    // Over the left 4.5 of 8 pixels, at a distance.
    const auto corners = [](float w, float right)
    {
        return std::array{RasterCorner{-50.0f, -50.0f, w, {}}, RasterCorner{right, -50.0f, w, {}},
                          RasterCorner{right, 60.0f, w, {}}, RasterCorner{-50.0f, 60.0f, w, {}}};
    };
    const auto draw = [&](Rasteriser& raster, float w, float right, const Vector3& vColor)
    {
        const auto c = corners(w, right);
        raster.Draw({c[0], c[1], c[2]}, vUp, vColor);
        raster.Draw({c[0], c[2], c[3]}, vUp, vColor);
    };
    Rasteriser near(8, 8), far(8, 8);
    draw(near, 1.0f, 4.5f, vBright), draw(near, 2.0f, 8.0f, vDark);
    draw(far, 2.0f, 8.0f, vDark), draw(far, 1.0f, 4.5f, vBright);
    const std::vector<uint8_t> pixels = near.Resolve(vBlack, vBlack, 0.0f);
    EXPECT_EQ(pixels, far.Resolve(vBlack, vBlack, 0.0f)); // whichever is drawn first
    const int left = Red(pixels, 8, 1, 4), edge = Red(pixels, 8, 4, 4), right = Red(pixels, 8, 6, 4);
    EXPECT_GT(left, 200);
    EXPECT_LT(right, 50);
    // Half of the light, in sRGB: 255 × 0.5^(1/2.4) or so.
    EXPECT_NEAR(edge, 0.735 * left, 12);
}

TEST(Picture, StripHoldsThePicturesOfItsTimesAndNothingIsCutOff)
{
    const ModelPointer model = MakeTestModel();
    PictureOptions options;
    options.m_Anim = "run";
    options.m_Width = 90;
    options.m_Height = 70;
    options.m_nStrip = 4;
    Picture strip;
    std::string error;
    ASSERT_TRUE(DrawPicture(*model, options, strip, error)) << error;
    ASSERT_EQ(strip.m_Times, (std::vector<double>{0.0, 100.0, 200.0, 300.0})); // it doesn't close, so the end is shown
    ASSERT_EQ(strip.m_Width, 360u);
    options.m_nStrip = 0;
    uint32_t nInked = 0;
    for (uint32_t i = 0; i < 4; ++i)
    {
        options.m_Time = strip.m_Times[i];
        Picture single;
        ASSERT_TRUE(DrawPicture(*model, options, single, error)) << error;
        for (uint32_t y = 0; y < 70; ++y)
        {
            // The background is the same along a row; a sample on an edge may fall to either side.
            const int background = Red(single.m_Pixels, 90, 0, y);
            EXPECT_NEAR(background, Red(single.m_Pixels, 90, 89, y), 2) << y;
            for (uint32_t x = 0; x < 90; ++x)
            {
                const int red = Red(single.m_Pixels, 90, x, y);
                EXPECT_NEAR(red, Red(strip.m_Pixels, 360, 90 * i + x, y), 20) << i << ": " << x << ", " << y;
                nInked += std::abs(red - background) > 20 ? 1 : 0;
                EXPECT_TRUE(y != 0 || red == background);
            }
        }
    }
    EXPECT_GT(nInked, 4u * 90u * 70u / 100u);

    options.m_Anim = "nap";
    EXPECT_FALSE(DrawPicture(*model, options, strip, error));
    EXPECT_EQ(error, "it has no animation nap");
    // Without triangles the skeleton is drawn.
    options.m_Anim = "jump";
    EXPECT_TRUE(DrawPicture(*MakeChildModel("jump", 3.0f), options, strip, error)) << error;
}

TEST(Picture, CommandWritesAPngOfTheSizeAsked)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "m.abc", BytesOf(*MakeTestModel()));
    PictureOptions options;
    options.m_Path = folder / "m.abc";
    options.m_OutPath = folder / "m.png";
    options.m_Width = 300;
    options.m_Height = 40;
    std::ostringstream out, err;
    ASSERT_EQ(RunPicture(options, out, err), 0) << err.str();
    const std::vector<uint8_t> png = ReadBytes(folder / "m.png");
    ASSERT_GT(png.size(), 24u);
    EXPECT_EQ(std::string(png.begin() + 1, png.begin() + 4), "PNG");
    EXPECT_EQ(std::vector<uint8_t>(png.begin() + 16, png.begin() + 24),
              (std::vector<uint8_t>{0, 0, 1, 44, 0, 0, 0, 40})); // width and height, big-endian
}

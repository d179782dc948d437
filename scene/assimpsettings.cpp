#include "scene/assimpparts.h"

#include <cmath>

// The modes of the format's time settings; 0 for what is left to the program, 14 is a rate of its own.
static double FbxFrameRate(int mode, double custom)
{
    static const double rates[] = {
        0.0, 120.0, 100.0, 60.0, 50.0, 48.0, 30.0, 30.0, 30000.0 / 1001.0, 30.0, 25.0, 24.0, 1000.0, 24000.0 / 1001.0};
    if (mode >= 0 && mode < static_cast<int>(sizeof(rates) / sizeof(rates[0])))
    {
        return rates[mode];
    }
    return mode == 14 && std::isfinite(custom) && custom > 0.0 ? custom : 0.0;
}

// Which axis the front is that our turn (see SceneTransform) brings to z, and its sign.
static int FrontOf(int upAxis, int& sign)
{
    sign = upAxis == 2 ? -1 : 1;
    return upAxis == 2 ? 1 : 2;
}

static std::string AxisName(int axis, int sign)
{
    return std::string(sign < 0 ? "-" : "") + static_cast<char>('x' + axis);
}

// The up axis is turned to y; what else a file states of its axes isn't followed.
static void ReadFbxAxes(const aiMetadata& settings, Scene& scene)
{
    int up = 0;
    int upSign = 1;
    if (!settings.Get("UpAxis", up) || up < 0 || up > 2)
    {
        return;
    }
    settings.Get("UpAxisSign", upSign);
    if (upSign < 0)
    {
        scene.warnings.push_back("The file states that " + AxisName(up, upSign) +
                                 " points up; its axes are taken as they are, y up.");
        return;
    }
    scene.upAxis = static_cast<char>('x' + up);
    int front = 0;
    int frontSign = 1;
    int expectedSign = 1;
    const int expected = FrontOf(up, expectedSign);
    settings.Get("FrontAxisSign", frontSign);
    // Files that state only one of the two axes come with the usual value for the other.
    if (!settings.Get("FrontAxis", front) || front < 0 || front > 2 || front == up ||
        (front == expected && (frontSign < 0) == (expectedSign < 0)))
    {
        return;
    }
    scene.warnings.push_back("The file states that " + AxisName(front, frontSign) +
                             " is its front; only its up axis is followed, so the model may face another way.");
}

void ReadFbxSettings(const aiMetadata& settings, Scene& scene)
{
    int mode = 0;
    float custom = 0.0F;
    settings.Get("CustomFrameRate", custom);
    if (settings.Get("FrameRate", mode))
    {
        scene.statedFps = FbxFrameRate(mode, static_cast<double>(custom));
    }
    float centimeters = 0.0F;
    if (settings.Get("UnitScaleFactor", centimeters) && std::isfinite(centimeters) && centimeters > 0.0F)
    {
        scene.unitMeters = static_cast<double>(centimeters) / 100.0;
    }
    ReadFbxAxes(settings, scene);
}

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
    int axis = 0;
    int sign = 1;
    settings.Get("UpAxisSign", sign);
    if (settings.Get("UpAxis", axis) && axis >= 0 && axis < 3 && sign > 0)
    {
        scene.upAxis = static_cast<char>('x' + axis);
    }
}

#include "host/playedclip.h"

#include "saa/recordedscene.h"
#include "scene/keyframe.h"

#include <algorithm>

// Keys outside the play range count for its first or last frame.
static int FindFirstKey(const RecordedScene& recorded)
{
    bool any = false;
    int first = recorded.EndFrame();
    for (int element = 0; element < recorded.NumElements(); element++)
    {
        for (int kind = 0; kind < NUM_CURVE_KINDS; kind++)
        {
            const auto curve = static_cast<CurveKind>(kind);
            for (int key = 0; key < recorded.NumKeys(element, curve); key++)
            {
                const auto seconds = static_cast<double>(recorded.KeySeconds(element, curve, key));
                first = std::min(first, std::max(NearestFrame(seconds, recorded.Fps()), recorded.StartFrame()));
                any = true;
                if (first == recorded.StartFrame())
                    return first;
            }
        }
    }
    return any ? first : recorded.StartFrame();
}

PlayedClip RecordPlayedClip(const RecordedScene& recorded, const std::string& animation)
{
    PlayedClip played;
    played.scene = &recorded.GetScene();
    played.clip = recorded.Clip();
    played.fps = recorded.Fps();
    played.start = recorded.StartFrame();
    played.end = recorded.EndFrame();
    played.firstKey = FindFirstKey(recorded);
    played.animation = animation;
    return played;
}

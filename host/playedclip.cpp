#include "host/playedclip.h"

#include "saa/recordedscene.h"
#include "scene/keyframe.h"

#include <algorithm>

// Keys outside the play range count for its first or last frame.
static int FindFirstKey(RecordedScene& recorded)
{
    bool any = false;
    int first = recorded.EndFrame();
    for (int element = 0; element < recorded.NumElements(); element++)
    {
        for (int kind = 0; kind < NUM_CURVE_KINDS; kind++)
        {
            for (const float seconds : recorded.KeyTimes(element, static_cast<CurveKind>(kind)))
            {
                const int frame = NearestFrame(static_cast<double>(seconds), recorded.Fps());
                first = std::min(first, std::max(frame, recorded.StartFrame()));
                any = true;
                if (first == recorded.StartFrame())
                    return first;
            }
        }
    }
    return any ? first : recorded.StartFrame();
}

PlayedClip RecordPlayedClip(RecordedScene& recorded, const std::string& animation)
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

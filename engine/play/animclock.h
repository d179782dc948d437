#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// What happens at the end of an animation, and going backwards at its start.
enum class LoopMode
{
    CLAMP,     // the end holds
    LOOP,      // from the start again
    PING_PONG, // the other way round
};

// A stretch of an animation that time has passed over, from m_From to m_To, which lies before it when time runs
// backwards. m_To belongs to the stretch, m_From only with m_bIncludesFrom.
struct TimeSpan
{
    double m_From = 0.0;
    double m_To = 0.0;
    bool m_bIncludesFrom = false;
};

// Where an animation stands, and how time takes it on. Plain data. All times are milliseconds, as those of the keys:
// its end is exactly that of the last key.
class AnimClock
{
public:
    // A step over more lengths than this passes over so many only, the last ones.
    static constexpr uint32_t MAX_LENGTHS_A_STEP = 64;

    // A length of 0 or less, or NaN, makes an animation of one moment.
    void Init(double length, LoopMode loop, float speed);
    // Clamped to the animation; NaN counts as 0. The moment itself will be passed by the next step.
    void Seek(double time);
    // Times the natural one; negative is backwards, 0 stands. NaN and infinity are refused.
    bool SetSpeed(float speed);
    void SetLoopMode(LoopMode loop)
    {
        m_Loop = loop;
        m_bReturning = m_bReturning && loop == LoopMode::PING_PONG;
        m_bFinished = false;
    }

    // Begins a step; less than 0, NaN and infinity count as 0. Each NextSpan then moves the clock
    // over one stretch, in order, until it is false.
    void BeginStep(double time);
    bool NextSpan(TimeSpan& span);

    double GetTime() const { return m_Time; }
    double GetLength() const { return m_Length; }
    float GetSpeed() const { return m_Speed; }
    LoopMode GetLoopMode() const { return m_Loop; }
    // True once a clamped animation has come to its end.
    bool IsFinished() const { return m_bFinished; }

private:
    double m_Length = 0.0;
    double m_Time = 0.0;
    double m_Rest = 0.0; // of the step, in time of the animation
    float m_Speed = 1.0f;
    LoopMode m_Loop = LoopMode::LOOP;
    bool m_bFresh = true;      // the present moment hasn't been passed yet
    bool m_bReturning = false; // on the way back of PING_PONG
    bool m_bFinished = false;
};
ZOLT_END_NAMESPACE
} // namespace zolt

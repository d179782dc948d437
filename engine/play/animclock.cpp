#include "engine/play/animclock.h"

#include <algorithm>
#include <cmath>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
void AnimClock::Init(double length, LoopMode loop, float speed)
{
    *this = AnimClock();
    m_Length = length > 0.0 && std::isfinite(length) ? length : 0.0;
    m_Loop = loop;
    SetSpeed(speed);
}

void AnimClock::Seek(double time)
{
    m_Time = time > 0.0 ? std::min(time, m_Length) : 0.0; // NaN too
    m_bFresh = true;
    m_bReturning = false;
    m_bFinished = false;
}

bool AnimClock::SetSpeed(float speed)
{
    if (!std::isfinite(speed))
        return false;
    if (speed != m_Speed)
        m_bFinished = false;
    m_Speed = speed;
    return true;
}

void AnimClock::BeginStep(double time)
{
    m_Rest = time > 0.0 && std::isfinite(time) ? time * std::fabs(m_Speed) : 0.0;
    // What is left out is an even number of lengths, after which both kinds of loop stand where they stood.
    const double most = m_Length * MAX_LENGTHS_A_STEP;
    if (m_Loop != LoopMode::CLAMP && m_Length > 0.0 && m_Rest > most)
        m_Rest = most - 2.0 * m_Length + std::fmod(m_Rest - most, 2.0 * m_Length);
}

bool AnimClock::NextSpan(TimeSpan& span)
{
    if (!(m_Rest > 0.0) || m_bFinished)
        return false;
    bool bForward = (m_Speed > 0.0f) != m_bReturning;
    double room = bForward ? m_Length - m_Time : m_Time;
    if (room <= 0.0 && !m_bFresh)
    {
        // At the end, which has been passed.
        if (m_Loop == LoopMode::CLAMP || m_Length == 0.0)
        {
            m_bFinished = m_Loop == LoopMode::CLAMP;
            m_Rest = 0.0;
            return false;
        }
        if (m_Loop == LoopMode::LOOP)
        {
            m_Time = bForward ? 0.0 : m_Length;
            m_bFresh = true;
        }
        else
        {
            m_bReturning = !m_bReturning;
            bForward = !bForward;
        }
        room = m_Length;
    }
    const double step = std::min(room, m_Rest);
    span.m_From = m_Time;
    span.m_bIncludesFrom = m_bFresh;
    if (step == room)
        m_Time = bForward ? m_Length : 0.0; // without a rounding
    else
        m_Time += bForward ? step : -step;
    span.m_To = m_Time;
    m_bFresh = false;
    m_Rest -= step;
    if (step == room && m_Loop == LoopMode::CLAMP)
    {
        m_bFinished = true;
        m_Rest = 0.0;
    }
    return true;
}
ZOLT_END_NAMESPACE
} // namespace zolt

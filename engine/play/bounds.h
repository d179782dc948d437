#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/vector3.h"

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// A box along the axes; empty at first.
struct Bounds
{
    Vector3 m_Min{1.0f, 1.0f, 1.0f};
    Vector3 m_Max{-1.0f, -1.0f, -1.0f};

    bool IsEmpty() const { return m_Min.x > m_Max.x; }
    void Add(const Vector3& point);
    void Add(const Bounds& other);
    // Larger by so much on every side; an empty box stays empty.
    void Grow(float margin);
    // The greatest distance of a point of the box from 0, 0, 0: what `VisRadius` in a command string states.
    float GetRadius() const;
};
ZOLT_END_NAMESPACE
} // namespace zolt

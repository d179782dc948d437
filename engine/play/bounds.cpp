#include "engine/play/bounds.h"

#include <algorithm>
#include <cmath>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
void Bounds::Add(const Vector3& point)
{
    if (IsEmpty())
    {
        m_Min = m_Max = point;
        return;
    }
    m_Min.Set(std::min(m_Min.x, point.x), std::min(m_Min.y, point.y), std::min(m_Min.z, point.z));
    m_Max.Set(std::max(m_Max.x, point.x), std::max(m_Max.y, point.y), std::max(m_Max.z, point.z));
}

void Bounds::Add(const Bounds& other)
{
    if (other.IsEmpty())
        return;
    Add(other.m_Min);
    Add(other.m_Max);
}

void Bounds::Grow(float margin)
{
    if (IsEmpty())
        return;
    m_Min = m_Min - Vector3(margin, margin, margin);
    m_Max += Vector3(margin, margin, margin);
}

float Bounds::GetRadius() const
{
    if (IsEmpty())
        return 0.0f;
    const auto Farther = [](float a, float b) { return std::max(std::fabs(a), std::fabs(b)); };
    return Vector3(Farther(m_Min.x, m_Max.x), Farther(m_Min.y, m_Max.y), Farther(m_Min.z, m_Max.z)).Mag();
}
ZOLT_END_NAMESPACE
} // namespace zolt

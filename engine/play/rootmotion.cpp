#include "engine/play/rootmotion.h"

#include <cmath>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
Matrix4 RootMotion::ToMatrix() const
{
    Matrix4 m;
    m(0, 0) = m(2, 2) = std::cos(m_Turn);
    m(0, 2) = std::sin(m_Turn);
    m(2, 0) = -m(0, 2);
    m.SetTranslation(m_X, 0.0f, m_Z);
    return m;
}

RootMotion RootMotion::Inverse() const
{
    const float c = std::cos(m_Turn), s = std::sin(m_Turn);
    return {s * m_Z - c * m_X, -s * m_X - c * m_Z, -m_Turn};
}

RootMotion RootMotion::Then(const RootMotion& next) const
{
    const float c = std::cos(m_Turn), s = std::sin(m_Turn);
    return {m_X + c * next.m_X + s * next.m_Z, m_Z - s * next.m_X + c * next.m_Z, m_Turn + next.m_Turn};
}

RootMotion RootMotion::Scaled(float share) const
{
    return {m_X * share, m_Z * share, m_Turn * share};
}

RootMotion FindRootMotion(const Matrix4& bindPose, const Matrix4& pose)
{
    // The rotation since the bind pose, pose × transposed bind pose. The turn about y that is nearest to it has the
    // greatest trace of their product: cos × (r00 + r22) + sin × (r02 - r20).
    const auto Element = [&](int r, int c)
    { return pose(r, 0) * bindPose(c, 0) + pose(r, 1) * bindPose(c, 1) + pose(r, 2) * bindPose(c, 2); };
    const float sine = Element(0, 2) - Element(2, 0), cosine = Element(0, 0) + Element(2, 2);
    RootMotion motion;
    if (sine != 0.0f || cosine != 0.0f)
        motion.m_Turn = std::atan2(sine, cosine);
    const float c = std::cos(motion.m_Turn), s = std::sin(motion.m_Turn);
    motion.m_X = pose(0, 3) - (c * bindPose(0, 3) + s * bindPose(2, 3));
    motion.m_Z = pose(2, 3) - (c * bindPose(2, 3) - s * bindPose(0, 3));
    return motion;
}
ZOLT_END_NAMESPACE
} // namespace zolt

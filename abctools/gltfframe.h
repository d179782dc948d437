// A node's local transform in the axes of a glTF scene, which is the model mirrored in z.
#pragma once

#include "engine/model/src/nodekeyframe.h"

#include <cmath>

// The transform of a node, or of the root, in its parent. The rotation comes out with unit length; one without a finite
// length other than 0 is none.
inline NodeKeyFrame GltfFrame(const NodeKeyFrame& local, bool bRoot)
{
    const Vector3& t = local.m_vTranslation;
    const Quaternion& q = local.m_qRotation;
    NodeKeyFrame frame; // 0 - x, since that isn't -0 for 0
    // Point x, y, z of a node's space is -x, -y, -z there; a turn about z by 180 degrees makes that of the root's
    // space, which is mirrored in z alone.
    frame.m_vTranslation = bRoot ? Vector3(t.x, t.y, 0.0f - t.z) : Vector3(0.0f - t.x, 0.0f - t.y, 0.0f - t.z);
    frame.m_qRotation = bRoot ? Quaternion(0.0f - q.y, q.x, q.w, 0.0f - q.z) : q;
    Quaternion& r = frame.m_qRotation;
    const double length = std::sqrt(double(r.x) * r.x + double(r.y) * r.y + double(r.z) * r.z + double(r.w) * r.w);
    if (!(length > 0.0) || !std::isfinite(length))
        r = Quaternion();
    else
        r.Set(static_cast<float>(r.x / length), static_cast<float>(r.y / length), static_cast<float>(r.z / length),
              static_cast<float>(r.w / length));
    return frame;
}

#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/quaternion.h"
#include "zoltshared/stdzolt/vector3.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class ModelStream;

// A rigid local transform: one key of a track, a relation of a child link, or the place of a socket.
// Constructing leaves the translation unset; whoever sizes an array of these fills it.
struct NodeKeyFrame
{
    Vector3 m_vTranslation; // relative to the parent, in model units
    Quaternion m_qRotation; // relative to the parent

    void SetIdentity();
    // The rotation matrix of m_qRotation with the translation in column 3.
    void ToMatrix(Matrix4& out) const { m_qRotation.ToMatrix(out, m_vTranslation); }
    // The rotation part must be a rotation; scale doesn't survive.
    void FromMatrix(const Matrix4& in)
    {
        m_qRotation.FromMatrix(in);
        in.GetTranslation(m_vTranslation);
    }

    // Keys of 28 bytes each, in one block: x, y, z; x, y, z, w. A read that fails gives zeros and sets the stream's
    // error status.
    static void LoadKeys(ModelStream* pStream, NodeKeyFrame* pKeys, uint32_t nKeys);
    static void SaveKeys(ModelStream* pStream, const NodeKeyFrame* pKeys, uint32_t nKeys);
};

ZOLT_END_NAMESPACE

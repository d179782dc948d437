#pragma once

#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/quaternion.h"
#include "zoltshared/stdzolt/vector3.h"

class ModelStream;

// A rigid local transform: one key of a track, a relation of a child link, or the place of a socket.
// Constructing leaves the translation unset; whoever sizes an array of these fills it.
struct NodeKeyFrame
{
    Vector3 m_vTranslation; // relative to the parent, in model units
    Quaternion m_qRotation; // relative to the parent

    void SetIdentity();
    // The rotation matrix of m_qRotation with the translation in column 3.
    void ToMatrix(Matrix4& out) const;
    // The rotation part must be a rotation; scale doesn't survive.
    void FromMatrix(const Matrix4& in);

    // One block of 28 bytes: x, y, z; x, y, z, w. A read that fails gives zeros and sets the stream's error status.
    void Load(ModelStream* pStream);
    void Save(ModelStream* pStream) const;
};

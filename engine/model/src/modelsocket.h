#pragma once

#include "engine/model/src/nodekeyframe.h"
#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

constexpr uint32_t MODELSOCKET_NAME_SIZE = 16;

// A named place on a node, for a weapon, an effect or the like.
class ModelSocket
{
public:
    ZOLT_ALLOCATED_NEW

    ModelSocket();

    // Keeps at most 15 characters.
    void SetName(const char* pName);
    const char* GetName() const { return m_Name; }
    void SetIdentity();
    // The socket's transform in its node's space.
    void ToMatrix(Matrix4& out) const;
    // Takes a rotation and a translation, as NodeKeyFrame::FromMatrix.
    void FromMatrix(const Matrix4& in);

    Vector3 m_vPos;         // in the node's space, model units
    Quaternion m_qRotation; // socket space to node space
    char m_Name[MODELSOCKET_NAME_SIZE] = {};
    uint32_t m_iNode = 0; // node index
};

ZOLT_END_NAMESPACE

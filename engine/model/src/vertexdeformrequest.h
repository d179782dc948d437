#pragma once

#include "engine/model/src/animtracker.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/vector3.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// How many animation positions an evaluation can layer.
constexpr uint32_t MAX_ANIM_POSITIONS = 8;

// What Model::GetVertexPositions needs. A plain record that owns nothing and may live on the stack.
struct VertexDeformRequest
{
    AnimTracker m_Anims[MAX_ANIM_POSITIONS];
    uint32_t m_nAnims = 0;         // positions in use, 1 to MAX_ANIM_POSITIONS (0 will do when nothing is evaluated)
    Vector3* m_pVertOut = nullptr; // room for the vertices of all pieces at m_iLOD, m_VertStride bytes apart
    // Bytes from one position to the next, of any value from 12 up. The 12 bytes of a position (x, y, z as floats) are
    // written; what lies between two of them isn't touched.
    uint32_t m_VertStride = sizeof(Vector3);
    Matrix4 m_StartMat;  // transform of the model as a whole: model space to the space of the result
    uint32_t m_iLOD = 0; // below NumLODs() of the model
    // NumNodes() matrices that take the place of the model's m_Transforms, which is what null stands for. With a table
    // and an m_pVertOut of its own for each, any number of threads may deform one model at once. Not owned.
    Matrix4* m_pTransforms = nullptr;
};

ZOLT_END_NAMESPACE

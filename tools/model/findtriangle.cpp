#include "engine/model/src/modelpiecelod.h"

QZBOOL ModelPieceLOD::FindTriangle(const Vector3* pPositions, const Vector3& p0, const Vector3& p1, const Vector3& p2,
                                   uint32_t* piTri)
{
    constexpr float TOLERANCE = 0.1f;
    for (uint32_t i = 0; i < NumTris(); ++i)
    {
        const uint16_t* indices = m_Tris[i].m_Indices;
        if (pPositions[indices[0]].NearlyEquals(p0, TOLERANCE) && pPositions[indices[1]].NearlyEquals(p1, TOLERANCE) &&
            pPositions[indices[2]].NearlyEquals(p2, TOLERANCE))
        {
            *piTri = i;
            return QZTRUE;
        }
    }
    return QZTRUE;
}

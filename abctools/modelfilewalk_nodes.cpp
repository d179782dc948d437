// The node tree and the weight sets.

#include "abctools/modelfilewalk.h"

#include "abctools/format.h"
#include "engine/model/src/modelformat.h"
#include "engine/model/src/modelnode.h"
#include "engine/model/src/weightset.h"

#include <cmath>

constexpr double RIGID_TOLERANCE = 2e-3;

// The rotation part must be orthonormal and not mirrored, the bottom row 0, 0, 0, 1.
static const char* RigidFault(const float* m)
{
    for (int i = 0; i < 3; ++i)
    {
        for (int j = 0; j < 3; ++j)
        {
            double product = 0.0;
            for (int k = 0; k < 3; ++k)
                product += double{m[4 * i + k]} * m[4 * j + k];
            if (!(std::fabs(product - (i == j)) <= RIGID_TOLERANCE))
                return "the matrix isn't rigid";
        }
    }
    if (m[12] != 0.0f || m[13] != 0.0f || m[14] != 0.0f || m[15] != 1.0f)
        return "the matrix isn't rigid";
    const double determinant = double{m[0]} * (double{m[5]} * m[10] - double{m[6]} * m[9]) -
                               double{m[1]} * (double{m[4]} * m[10] - double{m[6]} * m[8]) +
                               double{m[2]} * (double{m[4]} * m[9] - double{m[5]} * m[8]);
    return determinant > 0.0 ? nullptr : "the matrix is mirrored";
}

void ModelFileWalk::CheckNode(const std::string& name, const float* pMatrix)
{
    if (!AreFinite(pMatrix, 16))
        Fault(Named("node", name) + ": the matrix isn't finite");
    else if (const char* pFault = RigidFault(pMatrix))
        Fault(Named("node", name) + ": " + pFault);
}

bool ModelFileWalk::WalkNodes()
{
    std::set<std::string> seen;
    std::vector<uint32_t> pending = {1}; // nodes still to come on each level
    bool bNumbered = true;
    while (!pending.empty())
    {
        if (pending.back() == 0)
        {
            pending.pop_back();
            continue;
        }
        --pending.back();
        const std::string name = m_Reader.String();
        bNumbered = m_Reader.U16() == (m_Totals.m_nNodes & 0xFFFFu) && bNumbered;
        m_Reader.U8();
        float matrix[16];
        m_Reader.Floats(matrix, 16);
        const uint32_t nChildren = m_Reader.U32();
        if (!m_Reader.HasRoomFor(nChildren, DISK_NODE))
            return false;
        ++m_Totals.m_nNodes;
        CheckLength(Named("node", name), name, 4096);
        CheckNode(name, matrix);
        CheckUnique(seen, FindingKind::Warning, "node", name);
        Intern(name);
        if (m_Totals.m_nNodes > MODEL_MAX_NODES)
            return Stop(Format("there are more than %u nodes", MODEL_MAX_NODES));
        pending.push_back(nChildren);
        if (nChildren != 0 && pending.size() > MODEL_MAX_LEVELS + 1)
            return Stop(Named("node", name) + Format(": deeper than %u levels", MODEL_MAX_LEVELS));
    }
    if (!bNumbered)
        Fault("the node indices aren't the pre-order numbers");

    m_nWeightSets = m_Reader.U32();
    std::set<std::string> seenSets;
    for (uint32_t i = 0; i < m_nWeightSets; ++i)
    {
        const std::string name = m_Reader.String();
        const uint32_t nValues = m_Reader.U32();
        if (!m_Reader.HasRoomFor(nValues, sizeof(float)))
            return false;
        bool bFinite = true;
        for (uint32_t iValue = 0; iValue < nValues; ++iValue)
            bFinite = std::isfinite(m_Reader.F32()) && bFinite;
        const std::string label = Named("weight set", name);
        if (!bFinite)
            Fault(label + ": a value isn't finite");
        if (nValues != m_Totals.m_nNodes)
            Fault(label + ": " + Counted(nValues, "value") + " for " + Counted(m_Totals.m_nNodes, "node"));
        CheckLength(label, name, WEIGHTSET_NAME_SIZE);
        CheckUnique(seenSets, FindingKind::Warning, "weight set", name);
    }
    return true;
}

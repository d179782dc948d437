// The meshes.

#include "abctools/modelfilewalk.h"

#include "abctools/format.h"
#include "engine/model/src/modelformat.h"
#include "engine/model/src/modelpiece.h"

#include <algorithm>
#include <cmath>

// Shares are rounded to float, and so is their sum.
constexpr double SHARE_TOLERANCE = 1e-4;

bool ModelFileWalk::WalkPieces()
{
    m_nWeightTotal = m_Reader.U32();
    const uint32_t nPieces = m_Reader.U32();
    std::set<std::string> seen;
    for (uint32_t i = 0; i < nPieces; ++i)
    {
        const size_t start = m_Reader.Position();
        m_Reader.U16();
        float params[3] = {};
        m_Reader.Floats(params, m_Totals.m_Version >= 10 ? 3 : 2);
        for (uint32_t nSkipped = m_Reader.U16(); nSkipped > 0; --nSkipped)
            m_Reader.U32();
        const std::string name = m_Reader.String();
        if (m_Reader.Failed())
            return false;
        const std::string label = Named("piece", name);
        ++m_Totals.m_nPieces;
        CheckLength(label, name, MODELPIECE_NAME_SIZE);
        CheckUnique(seen, FindingKind::Warning, "piece", name);
        if (!AreFinite(params, 3))
            Fault(label + ": a parameter isn't finite");
        for (uint32_t iLOD = 0; iLOD < m_nLODs; ++iLOD)
        {
            if (!WalkMesh(iLOD == 0 ? label : label + Format(", LOD %u", iLOD), iLOD == 0))
                return false;
        }
        m_Totals.m_Pieces.push_back({name, m_Reader.Position() - start});
    }
    return true;
}

bool ModelFileWalk::WalkMesh(const std::string& label, bool bFirst)
{
    const uint32_t nTris = m_Reader.U32();
    if (!m_Reader.HasRoomFor(nTris, DISK_TRI))
        return false;
    std::vector<bool> used(MODEL_MAX_VERTS);
    uint32_t highest = 0;
    bool bFiniteUVs = true;
    bool bRepeats = false;
    for (uint32_t i = 0; i < nTris; ++i)
    {
        uint16_t corners[3];
        for (uint16_t& corner : corners)
        {
            float uv[2];
            m_Reader.Floats(uv, 2);
            bFiniteUVs = AreFinite(uv, 2) && bFiniteUVs;
            corner = m_Reader.U16();
            highest = std::max<uint32_t>(highest, corner);
            used[corner] = true;
        }
        bRepeats = bRepeats || corners[0] == corners[1] || corners[0] == corners[2] || corners[1] == corners[2];
    }

    const uint32_t nVerts = m_Reader.U32();
    if (!m_Reader.HasRoomFor(nVerts, DISK_VERT))
        return false;
    bool bFinite = true;
    bool bFiniteWeights = true;
    bool bMissingNode = false;
    bool bNegativeShare = false;
    bool bShareAboveOne = false;
    bool bShareSum = true;
    bool bUnitNormals = true;
    for (uint32_t i = 0; i < nVerts; ++i)
    {
        const uint16_t nWeights = m_Reader.U16();
        m_Reader.U16();
        if (!m_Reader.HasRoomFor(nWeights, DISK_WEIGHT))
            return false;
        double sum = 0.0;
        for (uint32_t k = 0; k < nWeights; ++k)
        {
            bMissingNode = m_Reader.U32() >= m_Totals.m_nNodes || bMissingNode;
            float weight[4];
            m_Reader.Floats(weight, 4);
            bFiniteWeights = AreFinite(weight, 4) && bFiniteWeights;
            bNegativeShare = bNegativeShare || weight[3] < 0.0f;
            bShareAboveOne = bShareAboveOne || weight[3] > 1.0 + SHARE_TOLERANCE;
            sum += weight[3];
        }
        bShareSum = bShareSum && (nWeights == 0 || !(sum <= 0.0));
        m_nUnweighted += nWeights == 0 && bFirst ? 1 : 0;
        m_nWeights += nWeights;
        m_Totals.m_nMaxWeights = std::max<uint32_t>(m_Totals.m_nMaxWeights, nWeights);
        float values[6]; // position, normal
        m_Reader.Floats(values, 6);
        bFinite = AreFinite(values, 6) && bFinite;
        const double length = std::hypot(double{values[3]}, double{values[4]}, double{values[5]});
        bUnitNormals = bUnitNormals && (length == 0.0 || std::fabs(length - 1.0) < NORMAL_TOLERANCE);
    }
    if (m_Reader.Failed())
        return false;
    m_Totals.m_nTris += nTris;
    m_Totals.m_nVerts += nVerts;

    const struct
    {
        bool m_bFound;
        FindingKind m_Kind;
        const char* m_pText;
    } findings[] = {
        {nTris != 0 && highest >= nVerts, FindingKind::Fault, "a triangle index is out of range"},
        {nVerts > MODEL_MAX_VERTS, FindingKind::Fault, "more than 65536 vertices"},
        {!bFiniteUVs, FindingKind::Fault, "texture coordinates aren't finite"},
        {!bFinite, FindingKind::Fault, "a position or normal isn't finite"},
        {bMissingNode, FindingKind::Fault, "a weight is on a missing node"},
        {!bFiniteWeights, FindingKind::Fault, "a weight isn't finite"},
        {bNegativeShare, FindingKind::Fault, "a share is below 0"},
        {bShareAboveOne, FindingKind::Warning, "a share is above 1"},
        {!bShareSum, FindingKind::Fault, "the shares of a vertex sum to 0"},
        {bFirst && bRepeats, FindingKind::Export, "a triangle repeats a vertex"},
        {bFirst && std::count(used.begin(), used.begin() + std::min(nVerts, MODEL_MAX_VERTS), true) !=
                       static_cast<ptrdiff_t>(nVerts),
         FindingKind::Export, "a vertex stands in no triangle"},
        {bFirst && !bUnitNormals, FindingKind::Export, "a normal isn't of length 1"},
    };
    for (const auto& finding : findings)
    {
        if (finding.m_bFound)
            Add(finding.m_Kind, label + ": " + finding.m_pText);
    }
    return true;
}

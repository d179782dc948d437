#include "abctools/edit/loopgap.h"

#include "engine/model/src/transformmaker.h"
#include "engine/model/src/vertexdeformrequest.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace
{

struct Pose
{
    Matrix4 m_Root;
    std::vector<Matrix4> m_Nodes; // like the vertices as seen from the root node
    std::vector<Vector3> m_Verts;
};

} // namespace

static bool EvaluateFromRoot(Model& model, uint32_t iAnim, uint32_t iKey, Pose& pose)
{
    VertexDeformRequest request;
    request.m_nAnims = 1;
    request.m_Anims[0].Init(&model, iAnim, iKey, iAnim, iKey, 0.0f);
    pose.m_Nodes.resize(model.NumNodes());
    pose.m_Verts.resize(model.CalcNumVerts() + 1); // never without an address
    request.m_pTransforms = pose.m_Nodes.data();
    request.m_pVertOut = pose.m_Verts.data();
    TransformMaker maker;
    maker.InitFromRequest(&request);
    maker.m_pOutput = pose.m_Nodes.data();
    if (!maker.SetupNodePath(0))
        return false;
    pose.m_Root = pose.m_Nodes[0];
    pose.m_Root.Inverse(request.m_StartMat);
    return model.GetVertexPositions(&request, QZTRUE) != QZFALSE;
}

static double Distance(const Vector3& a, const Vector3& b)
{
    return std::hypot(double(a.x) - b.x, double(a.y) - b.y, double(a.z) - b.z);
}

static Vector3 PlaceOf(const Matrix4& matrix)
{
    Vector3 place;
    matrix.GetTranslation(place);
    return place;
}

bool FindLoopGap(Model& model, uint32_t iAnim, LoopGap& gap)
{
    Pose first;
    Pose last;
    const uint32_t nKeys = model.GetAnim(iAnim)->NumKeyFrames();
    if (nKeys == 0 || !EvaluateFromRoot(model, iAnim, 0, first) || !EvaluateFromRoot(model, iAnim, nKeys - 1, last))
        return false;
    gap = LoopGap();
    const auto take = [&gap](double distance, const char* pKind, const char* pName)
    {
        if (distance <= gap.m_Distance)
            return;
        gap.m_Distance = distance;
        gap.m_Where = std::string(pKind) + " " + pName;
    };
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
        take(Distance(PlaceOf(first.m_Nodes[i]), PlaceOf(last.m_Nodes[i])), "node", model.GetNode(i)->GetName());
    size_t iVert = 0;
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        for (const size_t end = iVert + model.GetPiece(i)->NumVerts(); iVert < end; ++iVert)
            take(Distance(first.m_Verts[iVert], last.m_Verts[iVert]), "piece", model.GetPiece(i)->GetName());
    }
    gap.m_RootTravel = Distance(PlaceOf(first.m_Root), PlaceOf(last.m_Root));
    double trace = 0.0;
    for (int i = 0; i < 3; ++i)
    {
        for (int k = 0; k < 3; ++k)
            trace += double(first.m_Root(k, i)) * last.m_Root(k, i);
    }
    gap.m_RootTurn = std::acos(std::clamp(0.5 * (trace - 1.0), -1.0, 1.0)) * 180.0 / std::numbers::pi;
    return true;
}

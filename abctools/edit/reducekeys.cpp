#include "abctools/edit/reducekeys.h"

#include "abctools/edit/rebuildkeys.h"
#include "engine/model/src/transformmaker.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace
{

struct Box
{
    std::array<double, 3> m_Low;
    std::array<double, 3> m_High;

    void Add(double x, double y, double z)
    {
        const double place[3] = {x, y, z};
        for (size_t i = 0; i < 3; ++i)
        {
            m_Low[i] = std::min(m_Low[i], place[i]);
            m_High[i] = std::max(m_High[i], place[i]);
        }
    }
};

// How far poses between two keys are from those of all keys. A vertex is a mean of places that follow its nodes, so it
// strays no further than the furthest of them; and of a box, one of the corners strays furthest.
class KeyReducer
{
public:
    KeyReducer(Model& model, uint32_t iAnim, double tolerance)
        : m_Model(model), m_Anim(*model.GetAnim(iAnim)), m_iAnim(iAnim), m_Boxes(model.NumNodes()),
          m_Full(model.NumNodes()), m_Short(model.NumNodes())
    {
        FindBoxes();
        // Poses are floats: what the engine rounds must not go beyond the tolerance.
        double size = 0.0;
        for (const Box& box : m_Boxes)
        {
            for (size_t i = 0; i < 3; ++i)
                size = std::max({size, std::fabs(box.m_Low[i]), std::fabs(box.m_High[i])});
        }
        m_Limit = std::max(0.0, tolerance - 1e-6 * size);
    }

    // The keys to keep, rising. Empty if a pose can't be evaluated.
    std::vector<uint32_t> Choose(const std::function<void(size_t nDone, size_t nAll)>& progress)
    {
        const uint32_t nKeys = m_Anim.NumKeyFrames();
        std::vector<uint32_t> kept = {0};
        while (kept.back() + 1 < nKeys && !m_bFailed)
        {
            progress(kept.back(), nKeys);
            kept.push_back(FindFurthest(kept.back()));
        }
        return m_bFailed ? std::vector<uint32_t>() : kept;
    }

    double m_Strays = 0.0;

private:
    void FindBoxes()
    {
        std::fill(m_Boxes.begin(), m_Boxes.end(), Box{}); // around the node itself
        for (uint32_t iPiece = 0; iPiece < m_Model.NumPieces(); ++iPiece)
        {
            for (uint32_t iLOD = 0; iLOD < m_Model.GetPiece(iPiece)->NumLODs(); ++iLOD)
                AddMesh(*m_Model.GetPiece(iPiece)->GetLOD(iLOD));
        }
        for (uint32_t i = 0; i < m_Model.NumSockets(); ++i)
        {
            const ModelSocket& socket = *m_Model.GetSocket(i);
            if (socket.m_iNode < m_Boxes.size())
                m_Boxes[socket.m_iNode].Add(socket.m_vPos.x, socket.m_vPos.y, socket.m_vPos.z);
        }
    }

    void AddMesh(ModelPieceLOD& mesh)
    {
        for (uint32_t i = 0; i < mesh.NumVerts(); ++i)
        {
            const ModelVert& vert = *mesh.GetVert(i);
            for (uint32_t k = 0; k < vert.m_nWeights; ++k)
            {
                const float* v = vert.m_Weights[k].m_Vec;
                const double share = v[3];
                if (share > 0.0 && vert.m_Weights[k].m_iNode < m_Boxes.size())
                    m_Boxes[vert.m_Weights[k].m_iNode].Add(v[0] / share, v[1] / share, v[2] / share);
            }
        }
    }

    // A key that can't go.
    bool IsFixed(uint32_t iKey) const
    {
        const auto& keys = m_Anim.m_KeyFrames;
        return iKey + 1 == keys.GetSize() || *keys[iKey].m_pString != '\0' ||
               keys[iKey].m_Time == keys[iKey + 1].m_Time || keys[iKey].m_Time == keys[iKey - 1].m_Time;
    }

    // The furthest key that can follow a kept one: the distance is doubled until it is too far, then closed in on.
    uint32_t FindFurthest(uint32_t iFrom)
    {
        uint32_t iEnd = iFrom + 1;
        while (!IsFixed(iEnd))
            ++iEnd;
        uint32_t iGood = iFrom + 1;
        uint32_t iBad = iEnd + 1;
        double strays = 0.0;
        for (uint32_t nStep = 2; iGood < iEnd && iBad > iEnd; nStep *= 2)
            Try(iFrom, std::min(iFrom + nStep, iEnd), iGood, iBad, strays);
        while (iBad - iGood > 1)
            Try(iFrom, iGood + (iBad - iGood) / 2, iGood, iBad, strays);
        m_Strays = std::max(m_Strays, strays);
        return iGood;
    }

    void Try(uint32_t iFrom, uint32_t iTo, uint32_t& iGood, uint32_t& iBad, double& strays)
    {
        const double distance = FindDistance(iFrom, iTo);
        if (distance > m_Limit)
        {
            iBad = iTo;
            return;
        }
        iGood = iTo;
        strays = distance;
    }

    // The greatest distance at any millisecond between two keys; some distance above the limit if there is one.
    double FindDistance(uint32_t iFrom, uint32_t iTo)
    {
        const uint32_t first = m_Anim.m_KeyFrames[iFrom].m_Time;
        const uint32_t n = m_Anim.m_KeyFrames[iTo].m_Time - first;
        // In large steps, so that what is too far is soon found.
        uint64_t step = std::max<uint64_t>(1, uint64_t{n} * 618 / 1000);
        while (std::gcd(step, uint64_t{n}) != 1)
            ++step;
        double greatest = 0.0;
        for (uint64_t i = 1; i < n && greatest <= m_Limit && !m_bFailed; ++i)
        {
            const auto offset = static_cast<uint32_t>(i * step % n);
            AnimPlace place;
            m_bFailed = !FindAnimTime(m_Anim, double(first) + offset, place) ||
                        !Evaluate(place.m_iPrev, place.m_iCur, place.m_Percent, m_Full) ||
                        !Evaluate(iFrom, iTo, static_cast<float>(double(offset) / n), m_Short);
            greatest = std::max(greatest, ComparePoses());
        }
        return greatest;
    }

    bool Evaluate(uint32_t iPrev, uint32_t iCur, float percent, std::vector<Matrix4>& pose)
    {
        TransformMaker maker;
        maker.m_nAnims = 1;
        maker.m_Anims[0].Init(&m_Model, m_iAnim, iPrev, m_iAnim, iCur, percent);
        maker.m_pOutput = pose.data();
        return maker.SetupTransforms() != QZFALSE;
    }

    double ComparePoses() const
    {
        double greatest = 0.0;
        for (size_t iNode = 0; iNode < m_Boxes.size(); ++iNode)
        {
            double d[12];
            for (size_t i = 0; i < 12; ++i)
                d[i] = double(m_Full[iNode].m[i]) - m_Short[iNode].m[i];
            const Box& box = m_Boxes[iNode];
            for (int corner = 0; corner < 8; ++corner)
            {
                const double x = corner & 1 ? box.m_High[0] : box.m_Low[0];
                const double y = corner & 2 ? box.m_High[1] : box.m_Low[1];
                const double z = corner & 4 ? box.m_High[2] : box.m_Low[2];
                double square = 0.0;
                for (size_t row = 0; row < 12; row += 4)
                {
                    const double delta = d[row] * x + d[row + 1] * y + d[row + 2] * z + d[row + 3];
                    square += delta * delta;
                }
                greatest = std::max(greatest, square);
            }
        }
        return std::sqrt(greatest);
    }

    Model& m_Model;
    const ModelAnim& m_Anim;
    uint32_t m_iAnim;
    std::vector<Box> m_Boxes; // by node, in its space: around all that follows it
    std::vector<Matrix4> m_Full;
    std::vector<Matrix4> m_Short;
    double m_Limit = 0.0;
    bool m_bFailed = false;
};

} // namespace

bool ReduceKeys(Model& model, uint32_t iAnim, double tolerance,
                const std::function<void(size_t nDone, size_t nAll)>& progress, KeyReduction& reduction)
{
    ModelAnim& anim = *model.GetAnim(iAnim);
    reduction = {anim.NumKeyFrames(), anim.NumKeyFrames(), 0.0};
    if (anim.NumKeyFrames() < 3)
        return true;
    // A position names keys and rows by 16 bits.
    if (anim.NumKeyFrames() > UINT16_MAX + 1u || iAnim > UINT16_MAX)
        return false;
    KeyReducer reducer(model, iAnim, tolerance);
    const std::vector<uint32_t> kept = reducer.Choose(progress);
    if (kept.empty())
        return false;
    std::vector<RebuiltKey> keys;
    keys.reserve(kept.size());
    for (const uint32_t i : kept)
        keys.push_back({{i, i, 0.0f}, anim.m_KeyFrames[i].m_Time, anim.m_KeyFrames[i].m_pString});
    reduction.m_nAfter = static_cast<uint32_t>(keys.size());
    reduction.m_Strays = reducer.m_Strays;
    return RebuildKeys(anim, keys);
}

// Operations on envelopes: which vertices of a mesh an element of the skeleton moves, and how far.
#include "saa/SAAX.h"
#include "saa/arguments.h"
#include "saa/joinedmesh.h"
#include "saa/operations.h"

#include <algorithm>
#include <iterator>

// The weights of one skeleton element in the mesh's list.
struct WeightRange
{
    const JoinedWeight* begin = nullptr;
    const JoinedWeight* end = nullptr;
};

// Of a mesh without a skin nothing is worked out for this.
static WeightRange FindWeights(RecordedScene& scene, int skeleton, int mesh)
{
    if (!scene.IsEnveloped(mesh))
    {
        return {};
    }
    const int node = scene.NodeOf(skeleton);
    const JoinedMesh& joined = scene.Mesh(mesh);
    const auto mover =
        std::lower_bound(joined.movers.begin(), joined.movers.end(), node,
                         [](const JoinedMover& candidate, int wanted) { return candidate.node < wanted; });
    if (mover == joined.movers.end() || mover->node != node)
    {
        return {};
    }
    const std::uint32_t begin = mover == joined.movers.begin() ? 0 : std::prev(mover)->end;
    return {joined.weights.data() + begin, joined.weights.data() + mover->end};
}

// Runs `body` with the scene, the mesh's element and the weights that the skeleton element has in it.
template <typename Body>
static int RunEnvelopeOperation(Operation operation, const SAA_Scene* scene, const SAA_Elem* skeleton,
                                const SAA_Elem* mesh, Body body)
{
    return RunModelOperation(operation, scene, mesh,
                             [&](RecordedScene& current, int meshElement) -> int
                             {
                                 int skeletonElement = -1;
                                 if (!current.HasEnvelopes(meshElement) ||
                                     !ModelOfHandle(current, skeleton, skeletonElement))
                                 {
                                     return SAA_STATUS_HANDLE;
                                 }
                                 return body(current, meshElement, FindWeights(current, skeletonElement, meshElement));
                             });
}

int SAA_envelopeGetType(const SAA_Scene* scene, const SAA_Elem* elem, int* type)
{
    return RunModelOperation(
        OP_SAA_envelopeGetType, scene, elem,
        [&](RecordedScene& current, int element) -> int
        { return StoreInt(current.IsEnveloped(element) ? SAA_ENVELOPE_SKELETON : SAA_ENVELOPE_NONE, type); });
}

int SAA_envelopeGetNbCtrlVertices(const SAA_Scene* scene, const SAA_Elem* skeleton, int nSkeletons,
                                  const SAA_Elem* mesh, int* count)
{
    return RunEnvelopeOperation(
        OP_SAA_envelopeGetNbCtrlVertices, scene, skeleton, mesh,
        [&](RecordedScene&, int, const WeightRange& weights) -> int
        {
            return nSkeletons != 1 ? SAA_STATUS_ARGUMENT
                                   : StoreCount(static_cast<std::size_t>(weights.end - weights.begin), count);
        });
}

int SAA_envelopeGetCtrlVertices(const SAA_Scene* scene, const SAA_Elem* skeleton, int nSkeletons, const SAA_Elem* mesh,
                                int* count, SAA_SubHandle* vertices)
{
    return RunEnvelopeOperation(OP_SAA_envelopeGetCtrlVertices, scene, skeleton, mesh,
                                [&](RecordedScene& current, int element, const WeightRange& weights) -> int
                                {
                                    if (count == nullptr || nSkeletons != 1)
                                    {
                                        return SAA_STATUS_ARGUMENT;
                                    }
                                    const int status = CheckList(static_cast<std::size_t>(weights.end - weights.begin),
                                                                 *count, vertices);
                                    if (status != 0)
                                    {
                                        return status;
                                    }
                                    const SubHandles all(current, KIND_VERTEX, element);
                                    for (const JoinedWeight* weight = weights.begin; weight != weights.end; ++weight)
                                    {
                                        all.Write(*vertices++, weight->vertex);
                                    }
                                    return 0;
                                });
}

// The weight of a vertex, of which there needn't be one. As a rule it is `next`.
static const JoinedWeight* FindWeight(const WeightRange& range, const JoinedWeight* next, std::uint32_t vertex)
{
    if (next != range.end && next->vertex == vertex)
    {
        return next;
    }
    const JoinedWeight* weight =
        std::lower_bound(range.begin, range.end, vertex,
                         [](const JoinedWeight& entry, std::uint32_t wanted) { return entry.vertex < wanted; });
    return weight != range.end && weight->vertex == vertex ? weight : nullptr;
}

int SAA_ctrlVertexGetEnvelopeWeights(const SAA_Scene* scene, const SAA_Elem* skeleton, const SAA_Elem* mesh, int count,
                                     const SAA_SubHandle* vertices, float* weights)
{
    return RunEnvelopeOperation(OP_SAA_ctrlVertexGetEnvelopeWeights, scene, skeleton, mesh,
                                [&](RecordedScene& current, int element, const WeightRange& range) -> int
                                {
                                    const int status = CheckHandles(static_cast<std::size_t>(range.end - range.begin),
                                                                    count, vertices, weights);
                                    if (status != 0)
                                    {
                                        return status;
                                    }
                                    const SubHandles all(current, KIND_VERTEX, element);
                                    // First whether all are there: nothing is stored otherwise.
                                    for (const bool isStored : {false, true})
                                    {
                                        const JoinedWeight* next = range.begin;
                                        for (int i = 0; i < count; ++i)
                                        {
                                            const JoinedWeight* weight =
                                                FindWeight(range, next, all.IndexOf(vertices[i]));
                                            if (weight == nullptr)
                                            {
                                                return SAA_STATUS_HANDLE;
                                            }
                                            if (isStored)
                                            {
                                                weights[i] = weight->percent;
                                            }
                                            next = weight + 1;
                                        }
                                    }
                                    return 0;
                                });
}

// Runs `body` with the scene and the nodes that move vertices of the mesh.
template <typename Body>
static int RunMoverOperation(Operation operation, const SAA_Scene* scene, const SAA_Elem* mesh, Body body)
{
    return RunModelOperation(operation, scene, mesh,
                             [&](RecordedScene& current, int element) -> int {
                                 return current.HasEnvelopes(element) ? body(current, current.Mesh(element).movers)
                                                                      : SAA_STATUS_HANDLE;
                             });
}

int SAAX_envelopeGetNbSkeletons(const SAA_Scene* scene, const SAA_Elem* mesh, int* count)
{
    return RunMoverOperation(OP_SAAX_envelopeGetNbSkeletons, scene, mesh,
                             [&](RecordedScene&, const std::vector<JoinedMover>& movers) -> int
                             { return StoreCount(movers.size(), count); });
}

int SAAX_envelopeGetSkeletons(const SAA_Scene* scene, const SAA_Elem* mesh, int count, SAA_Elem* skeletons)
{
    return RunMoverOperation(OP_SAAX_envelopeGetSkeletons, scene, mesh,
                             [&](RecordedScene& current, const std::vector<JoinedMover>& movers) -> int
                             {
                                 const int status = CheckList(movers.size(), count, skeletons);
                                 for (std::size_t i = 0; status == 0 && i < movers.size(); ++i)
                                 {
                                     skeletons[i] = ModelHandle(current, current.ElementOf(movers[i].node));
                                 }
                                 return status;
                             });
}

// Operations on envelopes: which vertices of a mesh an element of the skeleton moves, and how far.
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

static WeightRange FindNodeWeights(RecordedScene& scene, int node, int mesh)
{
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

static WeightRange FindWeights(RecordedScene& scene, int skeleton, int mesh)
{
    return scene.Movers(mesh).Has(static_cast<std::uint32_t>(skeleton))
               ? FindNodeWeights(scene, scene.NodeOf(skeleton), mesh)
               : WeightRange();
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

// The answer in full, or why there is none.
[[gnu::noinline]] static int CountCtrlVertices(const SAA_Scene* scene, const SAA_Elem* skeleton, int nSkeletons,
                                               const SAA_Elem* mesh, int* count)
{
    return RunEnvelopeOperation(OP_SAA_envelopeGetNbCtrlVertices, scene, skeleton, mesh,
                                [&](RecordedScene& current, int element, const WeightRange& weights) -> int
                                {
                                    if (count == nullptr || nSkeletons != 1)
                                    {
                                        return SAA_STATUS_ARGUMENT;
                                    }
                                    *count = static_cast<int>(weights.end - weights.begin);
                                    AskedMesh& asked = g_HostState.asked;
                                    std::memcpy(asked.handle, mesh, sizeof asked.handle);
                                    asked.movers = current.Movers(element);
                                    asked.nElements = static_cast<std::uint32_t>(current.NumElements());
                                    return 0;
                                });
}

// Whether the question is a sound one, of the mesh asked last and an element that certainly moves nothing of it. Both
// handles begin alike: they are of models of one scene.
static inline bool IsCertainlyNone(const SAA_Scene* scene, const SAA_Elem* skeleton, int nSkeletons,
                                   const SAA_Elem* mesh, const int* count)
{
    const AskedMesh& asked = g_HostState.asked;
    if (scene == nullptr || skeleton == nullptr || mesh == nullptr || count == nullptr || nSkeletons != 1 ||
        std::memcmp(scene, &g_HostState.record, SCENE_RECORD_BYTES) != 0 ||
        std::memcmp(mesh, asked.handle, sizeof asked.handle) != 0 ||
        std::memcmp(skeleton, asked.handle, offsetof(ElemFields, index)) != 0)
    {
        return false;
    }
    const std::uint32_t element = ElemField(*skeleton, offsetof(ElemFields, index));
    return element < asked.nElements && !asked.movers.Has(element);
}

int SAA_envelopeGetNbCtrlVertices(const SAA_Scene* scene, const SAA_Elem* skeleton, int nSkeletons,
                                  const SAA_Elem* mesh, int* count)
{
    // An exporter asks for each pair of an element and a mesh: that is short, then.
    OperationRecord& record = g_Operations[OP_SAA_envelopeGetNbCtrlVertices];
    if (record.callsToFault == 0 && IsCertainlyNone(scene, skeleton, nSkeletons, mesh, count)) [[likely]]
    {
        ++record.nCalls;
        *count = 0;
        return 0;
    }
    return CountCtrlVertices(scene, skeleton, nSkeletons, mesh, count);
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

#include "tests/tools/model/kelpexport/lyinghost.h"

#include <dlfcn.h>

LyingHost g_LyingHost;

// The program's own definition of an operation goes before that of the library, which is asked behind it.
#define TRUE_ANSWER(name, ...)                                                                                         \
    static const auto pTrue = reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name));                              \
    const int status = pTrue(__VA_ARGS__);

static int CountAnswer(const char* pName, int status, int* pCount)
{
    const auto lie = g_LyingHost.counts.find(pName);
    if (lie == g_LyingHost.counts.end())
        return status;
    *pCount = lie->second;
    return 0;
}

#define COUNT_OPERATION(name, parameters, ...)                                                                         \
    int name parameters                                                                                                \
    {                                                                                                                  \
        TRUE_ANSWER(name, __VA_ARGS__)                                                                                 \
        return CountAnswer(#name, status, count);                                                                      \
    }

template <class Lie, class... Arguments> static void Tell(const Lie& lie, Arguments... arguments)
{
    if (lie)
        lie(arguments...);
}

extern "C"
{
    COUNT_OPERATION(SAA_sceneGetNbModels, (const SAA_Scene* scene, int* count), scene, count)
    COUNT_OPERATION(SAA_sceneGetPlayCtrlStartFrame, (const SAA_Scene* scene, int* count), scene, count)
    COUNT_OPERATION(SAA_sceneGetPlayCtrlEndFrame, (const SAA_Scene* scene, int* count), scene, count)
    COUNT_OPERATION(SAA_elementGetHierarchyLevel, (const SAA_Scene* scene, const SAA_Elem* elem, int* count), scene,
                    elem, count)
    COUNT_OPERATION(SAA_modelGetNbChildren, (const SAA_Scene* scene, const SAA_Elem* elem, int* count), scene, elem,
                    count)
    COUNT_OPERATION(SAA_modelGetNbTriangles,
                    (const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int* count), scene, elem,
                    geometry, lod, count)
    COUNT_OPERATION(SAA_modelGetNbTriVertices, (const SAA_Scene* scene, const SAA_Elem* elem, int* count), scene, elem,
                    count)
    COUNT_OPERATION(SAA_modelGetNbVertices, (const SAA_Scene* scene, const SAA_Elem* elem, int* count), scene, elem,
                    count)
    COUNT_OPERATION(SAA_envelopeGetNbCtrlVertices,
                    (const SAA_Scene* scene, const SAA_Elem* skeleton, int n, const SAA_Elem* mesh, int* count), scene,
                    skeleton, n, mesh, count)
    COUNT_OPERATION(SAA_fcurveGetNbKeys, (const SAA_Scene* scene, const SAA_Elem* curve, int* count), scene, curve,
                    count)
    COUNT_OPERATION(SAA_texture2DGetCropMax, (const SAA_Scene* scene, const SAA_Elem* texture, int* count, int* v),
                    scene, texture, count, v)
    COUNT_OPERATION(SAA_modelGetType, (const SAA_Scene* scene, const SAA_Elem* elem, int* count), scene, elem, count)
    COUNT_OPERATION(SAA_cusvalGetStringLength, (const SAA_CusvalSet* values, const char* name, int* count), values,
                    name, count)

    int SAA_envelopeGetCtrlVertices(const SAA_Scene* scene, const SAA_Elem* skeleton, int nSkeletons,
                                    const SAA_Elem* mesh, int* count, SAA_SubHandle* vertices)
    {
        TRUE_ANSWER(SAA_envelopeGetCtrlVertices, scene, skeleton, nSkeletons, mesh, count, vertices)
        if (status == 0)
            Tell(g_LyingHost.envelopeVertices, vertices);
        return CountAnswer("SAA_envelopeGetCtrlVertices", status, count);
    }

    int SAA_modelGetChildren(const SAA_Scene* scene, const SAA_Elem* elem, int count, SAA_Elem* children)
    {
        TRUE_ANSWER(SAA_modelGetChildren, scene, elem, count, children)
        Tell(g_LyingHost.children, children, elem);
        return status;
    }

    int SAA_modelGetScaling(const SAA_Scene* scene, const SAA_Elem* elem, int coordSys, float* x, float* y, float* z)
    {
        TRUE_ANSWER(SAA_modelGetScaling, scene, elem, coordSys, x, y, z)
        Tell(g_LyingHost.scaling, x);
        return status;
    }

    int SAA_modelGetTranslation(const SAA_Scene* scene, const SAA_Elem* elem, int coordSys, float* x, float* y,
                                float* z)
    {
        TRUE_ANSWER(SAA_modelGetTranslation, scene, elem, coordSys, x, y, z)
        Tell(g_LyingHost.translation, x);
        return status;
    }

    int SAA_matrixCreateXYZRotation(const float* angles, float* matrix)
    {
        TRUE_ANSWER(SAA_matrixCreateXYZRotation, angles, matrix)
        Tell(g_LyingHost.rotationMatrix, matrix);
        return status;
    }

    int SAA_modelGetVertices(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int count,
                             SAA_Position* positions)
    {
        TRUE_ANSWER(SAA_modelGetVertices, scene, elem, geometry, lod, count, positions)
        Tell(g_LyingHost.vertices, positions);
        return status;
    }

    int SAA_ctrlVertexGetIndices(const SAA_Scene* scene, const SAA_Elem* elem, int count, const SAA_SubHandle* vertices,
                                 int* indices)
    {
        TRUE_ANSWER(SAA_ctrlVertexGetIndices, scene, elem, count, vertices, indices)
        Tell(g_LyingHost.indices, indices);
        return status;
    }

    int SAA_triCtrlVertexGetGlobalUVTxtCoords(const SAA_Scene* scene, const SAA_Elem* elem, int count,
                                              const SAA_SubHandle* corners, int nTextures, const SAA_Elem* texture,
                                              float* u, float* v)
    {
        TRUE_ANSWER(SAA_triCtrlVertexGetGlobalUVTxtCoords, scene, elem, count, corners, nTextures, texture, u, v)
        Tell(g_LyingHost.texCoords, u);
        return status;
    }

    int SAA_ctrlVertexGetEnvelopeWeights(const SAA_Scene* scene, const SAA_Elem* skeleton, const SAA_Elem* mesh,
                                         int count, const SAA_SubHandle* vertices, float* weights)
    {
        TRUE_ANSWER(SAA_ctrlVertexGetEnvelopeWeights, scene, skeleton, mesh, count, vertices, weights)
        Tell(g_LyingHost.weights, weights, count);
        return status;
    }

    int SAA_frame2Seconds(const SAA_Scene* scene, int frame, float* seconds)
    {
        TRUE_ANSWER(SAA_frame2Seconds, scene, frame, seconds)
        Tell(g_LyingHost.seconds, seconds);
        return status;
    }
}

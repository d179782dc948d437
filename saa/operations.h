// The operations of the scene library by name, and what every one of them does first: count the call and give way to
// an injected fault.
#pragma once

#include "saa/SAAX.h"
#include "saa/hoststate.h"
#include "saa/saahost.h"

#include <cstdint>
#include <exception>

// One line for each operation.
#define SAA_OPERATIONS(X)                                                                                              \
    X(SAA_sceneInitInternal)                                                                                           \
    X(SAA_sceneGetCurrent)                                                                                             \
    X(SAA_sceneGetName)                                                                                                \
    X(SAA_sceneGetNbModels)                                                                                            \
    X(SAA_sceneGetModels)                                                                                              \
    X(SAA_sceneGetPlayCtrlStartFrame)                                                                                  \
    X(SAA_sceneGetPlayCtrlEndFrame)                                                                                    \
    X(SAA_sceneSetPlayCtrlCurrentFrame)                                                                                \
    X(SAA_elementGetHierarchyLevel)                                                                                    \
    X(SAA_elementGetName)                                                                                              \
    X(SAA_elementIsValid)                                                                                              \
    X(SAA_modelGetType)                                                                                                \
    X(SAA_envelopeGetType)                                                                                             \
    X(SAA_modelGetNbChildren)                                                                                          \
    X(SAA_modelGetChildren)                                                                                            \
    X(SAA_modelGetScaling)                                                                                             \
    X(SAA_modelGetRotation)                                                                                            \
    X(SAA_modelGetTranslation)                                                                                         \
    X(SAA_matrixCreateXYZRotation)                                                                                     \
    X(SAA_modelGetNbTriangles)                                                                                         \
    X(SAA_modelGetTriangles)                                                                                           \
    X(SAA_triangleGetCtrlVertices)                                                                                     \
    X(SAA_ctrlVertexGetIndices)                                                                                        \
    X(SAA_modelGetNbTriVertices)                                                                                       \
    X(SAA_modelGetTriVertices)                                                                                         \
    X(SAA_modelGetNbVertices)                                                                                          \
    X(SAA_modelGetVertices)                                                                                            \
    X(SAA_modelGetCtrlVertices)                                                                                        \
    X(SAA_modelRelationGetT2DGlbElements)                                                                              \
    X(SAA_triCtrlVertexGetGlobalUVTxtCoords)                                                                           \
    X(SAA_texture2DGetCropMin)                                                                                         \
    X(SAA_texture2DGetCropMax)                                                                                         \
    X(SAA_texture2DSetCropMax)                                                                                         \
    X(SAA_envelopeGetNbCtrlVertices)                                                                                   \
    X(SAA_envelopeGetCtrlVertices)                                                                                     \
    X(SAA_ctrlVertexGetEnvelopeWeights)                                                                                \
    X(SAA_modelFcurveGetRotation)                                                                                      \
    X(SAA_modelFcurveGetTranslation)                                                                                   \
    X(SAA_modelFcurveGetShapeInterpolation)                                                                            \
    X(SAA_fcurveGetNbKeys)                                                                                             \
    X(SAA_fcurveGetKeys)                                                                                               \
    X(SAA_fcurveKeyGetTime)                                                                                            \
    X(SAA_seconds2Frame)                                                                                               \
    X(SAA_frame2Seconds)                                                                                               \
    X(SAA_statusBarSet)                                                                                                \
    X(SAA_cusvalGetStringLength)                                                                                       \
    X(SAA_cusvalGetStringValue)                                                                                        \
    X(SAAX_envelopeGetNbSkeletons)                                                                                     \
    X(SAAX_envelopeGetSkeletons)

#define SAA_ENUMERATOR(name) OP_##name,
enum Operation
{
    SAA_OPERATIONS(SAA_ENUMERATOR) NUM_OPERATIONS
};
#undef SAA_ENUMERATOR

// The calls of an operation, and a fault that waits for one of them.
struct OperationRecord
{
    std::int64_t nCalls = 0; // pieces times nodes may be more than an int
    int callsToFault = 0;    // 0 for no fault
    int status = 0;
};

SAA_PRIVATE extern OperationRecord g_Operations[NUM_OPERATIONS];

// Counts a call of the operation; the status to answer with, 0 if it may go on.
inline int EnterOperation(Operation operation)
{
    OperationRecord& record = g_Operations[operation];
    ++record.nCalls;
    if (record.callsToFault == 0)
    {
        return 0;
    }
    --record.callsToFault;
    return record.callsToFault == 0 ? record.status : 0;
}

// Runs the body of an operation. No exception crosses the plain C interface; running out of memory is a status.
template <typename Body> int RunOperation(Operation operation, Body body)
{
    const int injected = EnterOperation(operation);
    if (injected != 0)
    {
        return injected;
    }
    try
    {
        return body();
    }
    catch (const std::exception&)
    {
        return SAA_STATUS_NO_MEMORY;
    }
}

// The same for operations that work on the current scene: `body` takes it.
template <typename Body> int RunSceneOperation(Operation operation, const SAA_Scene* record, Body body)
{
    return RunOperation(operation,
                        [&]() -> int
                        {
                            RecordedScene* scene = SceneOfRecord(record);
                            return scene == nullptr ? SAA_STATUS_NO_SCENE : body(*scene);
                        });
}

// And for those that ask something of a model: `body` takes the scene and the index of the element.
template <typename Body>
int RunModelOperation(Operation operation, const SAA_Scene* record, const SAA_Elem* elem, Body body)
{
    return RunSceneOperation(operation, record,
                             [&](RecordedScene& scene) -> int
                             {
                                 int element = -1;
                                 return ModelOfHandle(scene, elem, element) ? body(scene, element) : SAA_STATUS_HANDLE;
                             });
}

// And for those that need what a mesh is made of.
template <typename Body>
int RunMeshOperation(Operation operation, const SAA_Scene* record, const SAA_Elem* elem, Body body)
{
    return RunModelOperation(operation, record, elem,
                             [&](RecordedScene& scene, int element) -> int
                             { return scene.OpenMesh(element) ? body(scene, element) : SAA_STATUS_HANDLE; });
}

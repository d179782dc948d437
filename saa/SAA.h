// The scene library of the host, as far as a plug-in uses it.
//
// Every operation returns a status: 0 is success. After any other status nothing was stored into the out-arguments.
// Handles are opaque bytes that are copied by value; two handles of one kind that stand for the same thing have the
// same bytes. A count that is handed in must be the count that the matching operation answers. Texts are
// zero-terminated; a `size` is the number of bytes that there is room for, the terminator included, and a text that is
// longer is cut. All calls are made on one thread.
#ifndef SAA_SAA_H
#define SAA_SAA_H

#ifdef __cplusplus
extern "C"
{
#endif

    /* The scene record: filled by SAA_sceneGetCurrent, owned by the caller. */
    typedef struct SAA_Scene
    {
        unsigned char bytes[64];
    } SAA_Scene;

    /* An element of the scene: a model, a function curve, a texture. All bytes 0 stands for nothing. */
    typedef struct SAA_Elem
    {
        unsigned char bytes[20];
    } SAA_Elem;

    /* A part of an element: a triangle, a control vertex, a key of a function curve. Compared byte by byte. */
    typedef struct SAA_SubHandle
    {
        unsigned char bytes[36];
    } SAA_SubHandle;

    /* x, y, z and a fourth value that is always 1. */
    typedef struct SAA_Position
    {
        double v[4];
    } SAA_Position;

    /* A set of custom values; the host owns it. */
    typedef struct SAA_CusvalSet SAA_CusvalSet;

    enum
    {
        SAA_GEOM_ORIGINAL = 0, /* before deformation */
        SAA_GEOM_DEFORMED = 2  /* as deformed at the current frame */
    };

    enum
    {
        SAA_ENVELOPE_NONE = 0,
        SAA_ENVELOPE_SKELETON = 2 /* the mesh is enveloped to a skeleton */
    };

    enum
    {
        SAA_MNILL = 0,
        SAA_MPTCH = 1,
        SAA_MFACE = 2,
        SAA_MSMSH = 4,
        SAA_MJNT = 5,
        SAA_MSPLN = 6,
        SAA_MMETA = 7,
        SAA_MBALL = 8,
        SAA_MNCRV = 9,
        SAA_MNSRF = 10
    };

    /* Prepares the interface for "SDKv1.70.3". 0 and 3 (it was prepared before) are both success. */
    int SAA_sceneInitInternal(const char* version);

    /* The scene. Frames are integers, both ends of the play range inclusive. */
    int SAA_sceneGetCurrent(SAA_Scene* scene);
    int SAA_sceneGetName(const SAA_Scene* scene, int size, char* text);
    int SAA_sceneGetNbModels(const SAA_Scene* scene, int* count);
    int SAA_sceneGetModels(const SAA_Scene* scene, int count, SAA_Elem* models);
    int SAA_sceneGetPlayCtrlStartFrame(const SAA_Scene* scene, int* frame);
    int SAA_sceneGetPlayCtrlEndFrame(const SAA_Scene* scene, int* frame);
    int SAA_sceneSetPlayCtrlCurrentFrame(const SAA_Scene* scene, int frame);

    /* Elements. A level of 0 is the top of the hierarchy. */
    int SAA_elementGetHierarchyLevel(const SAA_Scene* scene, const SAA_Elem* elem, int* level);
    int SAA_elementGetName(const SAA_Scene* scene, const SAA_Elem* elem, int size, char* text);
    int SAA_elementIsValid(const SAA_Scene* scene, const SAA_Elem* elem, short* valid);

    /* Models. `coordSys` is always 0: the model's own space, relative to its parent. */
    int SAA_modelGetType(const SAA_Scene* scene, const SAA_Elem* elem, int* type);
    int SAA_envelopeGetType(const SAA_Scene* scene, const SAA_Elem* elem, int* type);
    int SAA_modelGetNbChildren(const SAA_Scene* scene, const SAA_Elem* elem, int* count);
    int SAA_modelGetChildren(const SAA_Scene* scene, const SAA_Elem* elem, int count, SAA_Elem* children);
    int SAA_modelGetScaling(const SAA_Scene* scene, const SAA_Elem* elem, int coordSys, float* x, float* y, float* z);
    int SAA_modelGetRotation(const SAA_Scene* scene, const SAA_Elem* elem, int coordSys, float* x, float* y, float* z);
    int SAA_modelGetTranslation(const SAA_Scene* scene, const SAA_Elem* elem, int coordSys, float* x, float* y,
                                float* z);

    /* 16 floats, row by row, acting on row vectors: first about x, then y, then z. The angles are those of
       SAA_modelGetRotation. */
    int SAA_matrixCreateXYZRotation(const float* angles, float* matrix);

    /* Meshes. `geometry` is SAA_GEOM_ORIGINAL or SAA_GEOM_DEFORMED, `lod` always 0. Each triangle has three corners;
       the handle of a corner stands for its control vertex and for the corner itself. */
    int SAA_modelGetNbTriangles(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int* count);
    int SAA_modelGetTriangles(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int count,
                              SAA_SubHandle* triangles);
    int SAA_triangleGetCtrlVertices(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int count,
                                    const SAA_SubHandle* triangles, SAA_SubHandle* corners);
    int SAA_ctrlVertexGetIndices(const SAA_Scene* scene, const SAA_Elem* elem, int count, const SAA_SubHandle* vertices,
                                 int* indices);
    int SAA_modelGetNbTriVertices(const SAA_Scene* scene, const SAA_Elem* elem, int* count);
    int SAA_modelGetTriVertices(const SAA_Scene* scene, const SAA_Elem* elem, int count, SAA_Position* positions);
    int SAA_modelGetNbVertices(const SAA_Scene* scene, const SAA_Elem* elem, int* count);
    int SAA_modelGetVertices(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int count,
                             SAA_Position* positions);
    int SAA_modelGetCtrlVertices(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int count,
                                 SAA_SubHandle* vertices);

    /* The global texture of a mesh (`count` is 1), its coordinates at triangle corners, relative to the crop rectangle,
       and that rectangle in pixels, both ends inclusive. What is set beyond the image is clamped to it. */
    int SAA_modelRelationGetT2DGlbElements(const SAA_Scene* scene, const SAA_Elem* elem, int count, SAA_Elem* texture);
    int SAA_triCtrlVertexGetGlobalUVTxtCoords(const SAA_Scene* scene, const SAA_Elem* elem, int count,
                                              const SAA_SubHandle* corners, int nTextures, const SAA_Elem* texture,
                                              float* u, float* v);
    int SAA_texture2DGetCropMin(const SAA_Scene* scene, const SAA_Elem* texture, int* u, int* v);
    int SAA_texture2DGetCropMax(const SAA_Scene* scene, const SAA_Elem* texture, int* u, int* v);
    int SAA_texture2DSetCropMax(const SAA_Scene* scene, const SAA_Elem* texture, int u, int v);

    /* Envelopes: which control vertices of a mesh a skeleton element moves, and each one's weight in percent.
       `nSkeletons` is always 1; `count` is an in-argument too. */
    int SAA_envelopeGetNbCtrlVertices(const SAA_Scene* scene, const SAA_Elem* skeleton, int nSkeletons,
                                      const SAA_Elem* mesh, int* count);
    int SAA_envelopeGetCtrlVertices(const SAA_Scene* scene, const SAA_Elem* skeleton, int nSkeletons,
                                    const SAA_Elem* mesh, int* count, SAA_SubHandle* vertices);
    int SAA_ctrlVertexGetEnvelopeWeights(const SAA_Scene* scene, const SAA_Elem* skeleton, const SAA_Elem* mesh,
                                         int count, const SAA_SubHandle* vertices, float* weights);

    /* Function curves. A curve that the model doesn't have comes as a handle that SAA_elementIsValid refuses. */
    int SAA_modelFcurveGetRotation(const SAA_Scene* scene, const SAA_Elem* elem, SAA_Elem* x, SAA_Elem* y, SAA_Elem* z);
    int SAA_modelFcurveGetTranslation(const SAA_Scene* scene, const SAA_Elem* elem, SAA_Elem* x, SAA_Elem* y,
                                      SAA_Elem* z);
    int SAA_modelFcurveGetShapeInterpolation(const SAA_Scene* scene, const SAA_Elem* elem, SAA_Elem* curve);
    int SAA_fcurveGetNbKeys(const SAA_Scene* scene, const SAA_Elem* curve, int* count);
    int SAA_fcurveGetKeys(const SAA_Scene* scene, const SAA_Elem* curve, int count, SAA_SubHandle* keys);
    int SAA_fcurveKeyGetTime(const SAA_Scene* scene, const SAA_Elem* curve, int count, const SAA_SubHandle* keys,
                             float* seconds);

    int SAA_seconds2Frame(const SAA_Scene* scene, float seconds, int* frame);
    int SAA_frame2Seconds(const SAA_Scene* scene, int frame, float* seconds);

    /* Shows a text in the host's status bar; `show` is always 1. */
    int SAA_statusBarSet(const char* text, int show);

    /* Custom values that hold text. The length doesn't count the terminator. */
    int SAA_cusvalGetStringLength(const SAA_CusvalSet* cusvals, const char* name, int* length);
    int SAA_cusvalGetStringValue(const SAA_CusvalSet* cusvals, const char* name, int size, char* text);

#ifdef __cplusplus
}
#endif

#endif

// Operations on meshes: triangles, control vertices, positions, textures.
#include "saa/arguments.h"
#include "saa/cropcoords.h"
#include "saa/operations.h"

#include <algorithm>

static bool IsGeometry(int geometry, int lod)
{
    return (geometry == SAA_GEOM_ORIGINAL || geometry == SAA_GEOM_DEFORMED) && lod == 0;
}

int SAA_modelGetNbTriangles(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int* count)
{
    return RunMeshOperation(OP_SAA_modelGetNbTriangles, scene, elem,
                            [&](RecordedScene& current, int element) -> int
                            {
                                return IsGeometry(geometry, lod)
                                           ? StoreCount(current.Primitive(element).triangles.size(), count)
                                           : SAA_STATUS_ARGUMENT;
                            });
}

int SAA_modelGetTriangles(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int count,
                          SAA_SubHandle* triangles)
{
    return RunMeshOperation(OP_SAA_modelGetTriangles, scene, elem,
                            [&](RecordedScene& current, int element) -> int
                            {
                                const int status =
                                    IsGeometry(geometry, lod)
                                        ? CheckList(current.Primitive(element).triangles.size(), count, triangles)
                                        : SAA_STATUS_ARGUMENT;
                                if (status == 0)
                                {
                                    SubHandles(current, KIND_TRIANGLE, element).WriteAll(triangles, count);
                                }
                                return status;
                            });
}

// Whether the handles are all of parts that there are `n` of.
static bool AreBelow(const SubHandles& all, const SAA_SubHandle* handles, int count, std::size_t n)
{
    for (int i = 0; i < count; ++i)
    {
        if (all.IndexOf(handles[i]) >= n)
        {
            return false;
        }
    }
    return true;
}

int SAA_triangleGetCtrlVertices(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int count,
                                const SAA_SubHandle* triangles, SAA_SubHandle* corners)
{
    return RunMeshOperation(
        OP_SAA_triangleGetCtrlVertices, scene, elem,
        [&](RecordedScene& current, int element)
        {
            const std::vector<SceneTriangle>& list = current.Primitive(element).triangles;
            const int status = IsGeometry(geometry, lod) ? CheckHandles(list.size(), count, triangles, corners)
                                                         : static_cast<int>(SAA_STATUS_ARGUMENT);
            if (status != 0)
            {
                return status;
            }
            const SubHandles asked(current, KIND_TRIANGLE, element);
            if (!AreBelow(asked, triangles, count, list.size()))
            {
                return static_cast<int>(SAA_STATUS_HANDLE);
            }
            const std::uint32_t* vertexOf = current.Mesh(element).vertexOf.data();
            const SceneTriangle* source = list.data();
            const bool turned = current.IsTurned(element);
            const SubHandles given(current, KIND_VERTEX, element);
            for (int i = 0; i < count; ++i)
            {
                const std::uint32_t triangle = asked.IndexOf(triangles[i]);
                for (std::uint32_t k = 0; k < 3; ++k)
                {
                    const std::uint32_t corner = turned ? 2 - k : k;
                    given.Write(*corners++, vertexOf[source[triangle].corners[corner]], 3 * triangle + corner + 1);
                }
            }
            return 0;
        });
}

int SAA_ctrlVertexGetIndices(const SAA_Scene* scene, const SAA_Elem* elem, int count, const SAA_SubHandle* vertices,
                             int* indices)
{
    return RunMeshOperation(OP_SAA_ctrlVertexGetIndices, scene, elem,
                            [&](RecordedScene& current, int element)
                            {
                                const std::size_t n = current.Mesh(element).fileVertex.size();
                                const std::size_t most = std::max(3 * current.Primitive(element).triangles.size(), n);
                                const int status = CheckHandles(most, count, vertices, indices);
                                if (status != 0)
                                {
                                    return status;
                                }
                                const SubHandles asked(current, KIND_VERTEX, element);
                                if (!AreBelow(asked, vertices, count, n))
                                {
                                    return static_cast<int>(SAA_STATUS_HANDLE);
                                }
                                for (int i = 0; i < count; ++i)
                                {
                                    indices[i] = static_cast<int>(asked.IndexOf(vertices[i]));
                                }
                                return 0;
                            });
}

// Tri-vertices and vertices are one list, so that they agree to the last bit.
static int StorePositions(RecordedScene& scene, int element, bool deformed, int count, SAA_Position* positions)
{
    const int status = CheckList(scene.Mesh(element).fileVertex.size(), count, positions);
    if (status != 0)
    {
        return status;
    }
    const std::vector<Double3>& list = scene.Positions(element, deformed);
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        positions[i] = {{list[i].x, list[i].y, list[i].z, 1.0}};
    }
    return 0;
}

int SAA_modelGetNbTriVertices(const SAA_Scene* scene, const SAA_Elem* elem, int* count)
{
    return RunMeshOperation(OP_SAA_modelGetNbTriVertices, scene, elem,
                            [&](RecordedScene& current, int element)
                            { return StoreCount(current.Mesh(element).fileVertex.size(), count); });
}

int SAA_modelGetTriVertices(const SAA_Scene* scene, const SAA_Elem* elem, int count, SAA_Position* positions)
{
    return RunMeshOperation(OP_SAA_modelGetTriVertices, scene, elem,
                            [&](RecordedScene& current, int element)
                            { return StorePositions(current, element, true, count, positions); });
}

int SAA_modelGetNbVertices(const SAA_Scene* scene, const SAA_Elem* elem, int* count)
{
    return RunMeshOperation(OP_SAA_modelGetNbVertices, scene, elem,
                            [&](RecordedScene& current, int element)
                            { return StoreCount(current.Mesh(element).fileVertex.size(), count); });
}

int SAA_modelGetVertices(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int count,
                         SAA_Position* positions)
{
    return RunMeshOperation(OP_SAA_modelGetVertices, scene, elem,
                            [&](RecordedScene& current, int element) -> int
                            {
                                return IsGeometry(geometry, lod)
                                           ? StorePositions(current, element, geometry == SAA_GEOM_DEFORMED, count,
                                                            positions)
                                           : SAA_STATUS_ARGUMENT;
                            });
}

int SAA_modelGetCtrlVertices(const SAA_Scene* scene, const SAA_Elem* elem, int geometry, int lod, int count,
                             SAA_SubHandle* vertices)
{
    return RunMeshOperation(OP_SAA_modelGetCtrlVertices, scene, elem,
                            [&](RecordedScene& current, int element) -> int
                            {
                                const int status =
                                    IsGeometry(geometry, lod)
                                        ? CheckList(current.Mesh(element).fileVertex.size(), count, vertices)
                                        : SAA_STATUS_ARGUMENT;
                                if (status == 0)
                                {
                                    SubHandles(current, KIND_VERTEX, element).WriteAll(vertices, count);
                                }
                                return status;
                            });
}

int SAA_modelRelationGetT2DGlbElements(const SAA_Scene* scene, const SAA_Elem* elem, int count, SAA_Elem* texture)
{
    return RunMeshOperation(OP_SAA_modelRelationGetT2DGlbElements, scene, elem,
                            [&](RecordedScene& current, int element) -> int
                            {
                                if (texture == nullptr || count != 1)
                                {
                                    return texture == nullptr ? SAA_STATUS_ARGUMENT : SAA_STATUS_COUNT;
                                }
                                const int index = current.TextureOf(element);
                                if (index < 0)
                                {
                                    return SAA_STATUS_NO_TEXTURE;
                                }
                                *texture = TextureHandle(current, index);
                                return 0;
                            });
}

// The place of a corner among those of all triangles, 0 for the first corner of the first triangle; as many as there
// are, or more, for another handle.
static std::size_t CornerPlace(const SubHandles& vertices, const SAA_SubHandle& handle)
{
    // A vertex by itself has 0 there, which becomes the greatest number.
    return vertices.IndexOf(handle) == UINT32_MAX ? UINT32_MAX : SubHandles::CornerOf(handle) - 1;
}

int SAA_triCtrlVertexGetGlobalUVTxtCoords(const SAA_Scene* scene, const SAA_Elem* elem, int count,
                                          const SAA_SubHandle* corners, int nTextures, const SAA_Elem* texture,
                                          float* u, float* v)
{
    return RunMeshOperation(OP_SAA_triCtrlVertexGetGlobalUVTxtCoords, scene, elem,
                            [&](RecordedScene& current, int element) -> int
                            {
                                const ScenePrimitive& primitive = current.Primitive(element);
                                int index = -1;
                                if (u == nullptr || v == nullptr || nTextures != 1)
                                {
                                    return SAA_STATUS_ARGUMENT;
                                }
                                if (!TextureOfHandle(current, texture, index) || index != current.TextureOf(element))
                                {
                                    return SAA_STATUS_HANDLE;
                                }
                                const std::size_t nCorners = 3 * primitive.triangles.size();
                                const int status = CheckHandles(nCorners, count, corners, u);
                                if (status != 0)
                                {
                                    return status;
                                }
                                const SubHandles vertices(current, KIND_VERTEX, element);
                                for (int i = 0; i < count; ++i)
                                {
                                    if (CornerPlace(vertices, corners[i]) >= nCorners)
                                    {
                                        return SAA_STATUS_HANDLE;
                                    }
                                }
                                const RecordedTexture& image = current.Texture(index);
                                // A vertex is the corner of some six triangles.
                                struct Coordinates
                                {
                                    bool isKnown = false;
                                    float u = 0.0F;
                                    float v = 0.0F;
                                };
                                std::vector<Coordinates> known(primitive.texCoords.size());
                                for (int i = 0; i < count; ++i)
                                {
                                    const std::size_t place = CornerPlace(vertices, corners[i]);
                                    const std::uint32_t vertex = primitive.triangles[place / 3].corners[place % 3];
                                    Coordinates& own = known[vertex];
                                    if (!own.isKnown)
                                    {
                                        const SceneTexCoord& whole = primitive.texCoords[vertex];
                                        own.u =
                                            CropCoordinate(whole.u, image.cropMin[0], image.cropMax[0], image.width);
                                        own.v =
                                            CropCoordinate(whole.v, image.cropMin[1], image.cropMax[1], image.height);
                                        own.isKnown = true;
                                    }
                                    u[i] = own.u;
                                    v[i] = own.v;
                                }
                                return 0;
                            });
}

// Runs `body` on the texture that the handle stands for.
template <typename Body>
static int RunTextureOperation(Operation operation, const SAA_Scene* scene, const SAA_Elem* texture, Body body)
{
    return RunSceneOperation(operation, scene,
                             [&](RecordedScene& current) -> int
                             {
                                 int index = -1;
                                 return TextureOfHandle(current, texture, index) ? body(current.Texture(index))
                                                                                 : SAA_STATUS_HANDLE;
                             });
}

static int StorePixel(const int (&pixel)[2], int* u, int* v)
{
    if (u == nullptr || v == nullptr)
    {
        return SAA_STATUS_ARGUMENT;
    }
    *u = pixel[0];
    *v = pixel[1];
    return 0;
}

int SAA_texture2DGetCropMin(const SAA_Scene* scene, const SAA_Elem* texture, int* u, int* v)
{
    return RunTextureOperation(OP_SAA_texture2DGetCropMin, scene, texture,
                               [&](RecordedTexture& image) { return StorePixel(image.cropMin, u, v); });
}

int SAA_texture2DGetCropMax(const SAA_Scene* scene, const SAA_Elem* texture, int* u, int* v)
{
    return RunTextureOperation(OP_SAA_texture2DGetCropMax, scene, texture,
                               [&](RecordedTexture& image) { return StorePixel(image.cropMax, u, v); });
}

int SAA_texture2DSetCropMax(const SAA_Scene* scene, const SAA_Elem* texture, int u, int v)
{
    return RunTextureOperation(OP_SAA_texture2DSetCropMax, scene, texture,
                               [&](RecordedTexture& image)
                               {
                                   image.cropMax[0] = std::clamp(u, image.cropMin[0], image.width - 1);
                                   image.cropMax[1] = std::clamp(v, image.cropMin[1], image.height - 1);
                                   return 0;
                               });
}

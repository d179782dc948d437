#include "saa/handles.h"

struct SubFields
{
    std::uint32_t tag;
    std::uint32_t kind;
    std::uint32_t scene;
    std::uint32_t element;
    std::uint32_t index;
    std::uint32_t corner; // of a vertex as a corner: 3 times the triangle plus the corner plus 1; the kind of a curve
    std::uint32_t unused[3];
};

static_assert(sizeof(SubFields) == sizeof(SAA_SubHandle));

static SAA_Elem MakeElem(const RecordedScene& scene, HandleKind kind, int index, std::uint32_t part)
{
    const ElemFields fields = {HANDLE_TAG, kind, scene.Id(), static_cast<std::uint32_t>(index), part};
    SAA_Elem elem;
    std::memcpy(&elem, &fields, sizeof elem);
    return elem;
}

static SAA_SubHandle MakeSub(const RecordedScene& scene, HandleKind kind, int element, std::uint32_t index,
                             std::uint32_t corner)
{
    const SubFields fields = {HANDLE_TAG, kind,   scene.Id(), static_cast<std::uint32_t>(element),
                              index,      corner, {0, 0, 0}};
    SAA_SubHandle handle;
    std::memcpy(&handle, &fields, sizeof handle);
    return handle;
}

SAA_Scene SceneRecord(const RecordedScene& scene)
{
    const std::uint32_t fields[3] = {HANDLE_TAG, KIND_SCENE, scene.Id()};
    SAA_Scene record = {};
    std::memcpy(&record, fields, sizeof fields);
    return record;
}

SAA_Elem ModelHandle(const RecordedScene& scene, int element)
{
    return MakeElem(scene, KIND_MODEL, element, 0);
}

SAA_Elem CurveHandle(const RecordedScene& scene, int element, CurveKind kind)
{
    return MakeElem(scene, KIND_CURVE, element, static_cast<std::uint32_t>(kind));
}

SAA_Elem TextureHandle(const RecordedScene& scene, int texture)
{
    return MakeElem(scene, KIND_TEXTURE, texture, 0);
}

SAA_SubHandle TriangleHandle(const RecordedScene& scene, int element, std::uint32_t triangle)
{
    return MakeSub(scene, KIND_TRIANGLE, element, triangle, 0);
}

SAA_SubHandle KeyHandle(const RecordedScene& scene, int element, CurveKind kind, std::uint32_t key)
{
    return MakeSub(scene, KIND_KEY, element, key, static_cast<std::uint32_t>(kind));
}

SAA_SubHandle VertexHandle(const RecordedScene& scene, int element, std::uint32_t vertex)
{
    return MakeSub(scene, KIND_VERTEX, element, vertex, 0);
}

SAA_SubHandle CornerHandle(const RecordedScene& scene, int element, std::uint32_t vertex, std::uint32_t triangle,
                           std::uint32_t corner)
{
    return MakeSub(scene, KIND_VERTEX, element, vertex, 3 * triangle + corner + 1);
}

static bool ReadSub(const RecordedScene& scene, int element, const SAA_SubHandle& handle, HandleKind kind,
                    SubFields& fields)
{
    std::memcpy(&fields, &handle, sizeof fields);
    return fields.tag == HANDLE_TAG && fields.kind == kind && fields.scene == scene.Id() &&
           fields.element == static_cast<std::uint32_t>(element);
}

static bool ReadElem(const RecordedScene& scene, const SAA_Elem* elem, HandleKind kind, ElemFields& fields)
{
    if (!IsElemOf(scene, elem, kind))
    {
        return false;
    }
    std::memcpy(&fields, elem, sizeof fields);
    return true;
}

bool CurveOfHandle(const RecordedScene& scene, const SAA_Elem* elem, int& element, CurveKind& kind)
{
    ElemFields fields;
    if (!ReadElem(scene, elem, KIND_CURVE, fields) || fields.index >= static_cast<std::uint32_t>(scene.NumElements()) ||
        fields.part >= static_cast<std::uint32_t>(NUM_CURVE_KINDS))
    {
        return false;
    }
    element = static_cast<int>(fields.index);
    kind = static_cast<CurveKind>(fields.part);
    return scene.NumKeys(element, kind) > 0;
}

bool TextureOfHandle(const RecordedScene& scene, const SAA_Elem* elem, int& texture)
{
    ElemFields fields;
    if (!ReadElem(scene, elem, KIND_TEXTURE, fields) || fields.index >= static_cast<std::uint32_t>(scene.NumTextures()))
    {
        return false;
    }
    texture = static_cast<int>(fields.index);
    return true;
}

bool TriangleOfHandle(const RecordedScene& scene, int element, const SAA_SubHandle& handle, std::uint32_t& triangle)
{
    SubFields fields;
    if (!ReadSub(scene, element, handle, KIND_TRIANGLE, fields) ||
        fields.index >= scene.Primitive(element).triangles.size())
    {
        return false;
    }
    triangle = fields.index;
    return true;
}

bool KeyOfHandle(const RecordedScene& scene, int element, CurveKind kind, const SAA_SubHandle& handle,
                 std::uint32_t& key)
{
    SubFields fields;
    if (!ReadSub(scene, element, handle, KIND_KEY, fields) || fields.corner != static_cast<std::uint32_t>(kind) ||
        fields.index >= static_cast<std::uint32_t>(scene.NumKeys(element, kind)))
    {
        return false;
    }
    key = fields.index;
    return true;
}

bool VertexOfHandle(RecordedScene& scene, int element, const SAA_SubHandle& handle, std::uint32_t& vertex)
{
    SubFields fields;
    if (!ReadSub(scene, element, handle, KIND_VERTEX, fields) || fields.index >= scene.Mesh(element).fileVertex.size())
    {
        return false;
    }
    vertex = fields.index;
    return true;
}

bool CornerOfHandle(RecordedScene& scene, int element, const SAA_SubHandle& handle, std::uint32_t& primitiveVertex)
{
    SubFields fields;
    const std::vector<SceneTriangle>& triangles = scene.Primitive(element).triangles;
    if (!ReadSub(scene, element, handle, KIND_VERTEX, fields) || fields.corner == 0 ||
        (fields.corner - 1) / 3 >= triangles.size())
    {
        return false;
    }
    primitiveVertex = triangles[(fields.corner - 1) / 3].corners[(fields.corner - 1) % 3];
    return true;
}

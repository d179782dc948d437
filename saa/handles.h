// The bytes of the handles that the scene library gives out. They hold a tag, the kind of the thing, the scene's id
// and indices, and are checked against the scene whenever they come back; what isn't used is 0.
#pragma once

#include "saa/SAA.h"
#include "saa/recordedscene.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

constexpr std::uint32_t HANDLE_TAG = 0x31414153U; // "SAA1"

enum HandleKind : std::uint32_t
{
    KIND_SCENE = 1,
    KIND_MODEL,
    KIND_CURVE,
    KIND_TEXTURE,
    KIND_TRIANGLE,
    KIND_VERTEX,
    KIND_KEY
};

struct ElemFields
{
    std::uint32_t tag;
    std::uint32_t kind;
    std::uint32_t scene;
    std::uint32_t index;
    std::uint32_t part; // the kind of a curve
};

static_assert(sizeof(ElemFields) == sizeof(SAA_Elem));

SAA_Scene SceneRecord(const RecordedScene& scene);

SAA_Elem ModelHandle(const RecordedScene& scene, int element);
SAA_Elem CurveHandle(const RecordedScene& scene, int element, CurveKind kind);
SAA_Elem TextureHandle(const RecordedScene& scene, int texture);

SAA_SubHandle TriangleHandle(const RecordedScene& scene, int element, std::uint32_t triangle);
SAA_SubHandle KeyHandle(const RecordedScene& scene, int element, CurveKind kind, std::uint32_t key);

// A control vertex by itself: the same bytes for vertices of either geometry and for envelopes.
SAA_SubHandle VertexHandle(const RecordedScene& scene, int element, std::uint32_t vertex);

// A control vertex as a corner (0 to 2) of a triangle.
SAA_SubHandle CornerHandle(const RecordedScene& scene, int element, std::uint32_t vertex, std::uint32_t triangle,
                           std::uint32_t corner);

// What a handle stands for. False for null pointers, for bytes that no function above makes for this scene, and for
// handles of another kind or of another element than asked for. They only read tags and indices; an index is in range
// if the function returns true.
inline bool ModelOfHandle(const RecordedScene& scene, const SAA_Elem* elem, int& element);
bool CurveOfHandle(const RecordedScene& scene, const SAA_Elem* elem, int& element, CurveKind& kind);
bool TextureOfHandle(const RecordedScene& scene, const SAA_Elem* elem, int& texture);
bool TriangleOfHandle(const RecordedScene& scene, int element, const SAA_SubHandle& handle, std::uint32_t& triangle);
bool KeyOfHandle(const RecordedScene& scene, int element, CurveKind kind, const SAA_SubHandle& handle,
                 std::uint32_t& key);

// Of a control vertex, by itself or as a corner.
bool VertexOfHandle(RecordedScene& scene, int element, const SAA_SubHandle& handle, std::uint32_t& vertex);

// Of a corner alone: the vertex of the primitive (not joined) that stands there.
bool CornerOfHandle(RecordedScene& scene, int element, const SAA_SubHandle& handle, std::uint32_t& primitiveVertex);

// Reads one of the numbers where it lies.
inline std::uint32_t ElemField(const SAA_Elem& elem, std::size_t field)
{
    std::uint32_t value = 0;
    std::memcpy(&value, elem.bytes + field, sizeof value);
    return value;
}

inline bool IsElemOf(const RecordedScene& scene, const SAA_Elem* elem, HandleKind kind)
{
    return elem != nullptr && ElemField(*elem, offsetof(ElemFields, tag)) == HANDLE_TAG &&
           ElemField(*elem, offsetof(ElemFields, kind)) == kind &&
           ElemField(*elem, offsetof(ElemFields, scene)) == scene.Id();
}

// Inline, as all that is asked of each pair of an element and a mesh.
inline bool ModelOfHandle(const RecordedScene& scene, const SAA_Elem* elem, int& element)
{
    if (!IsElemOf(scene, elem, KIND_MODEL) || !scene.HasElement(ElemField(*elem, offsetof(ElemFields, index))))
    {
        return false;
    }
    element = static_cast<int>(ElemField(*elem, offsetof(ElemFields, index)));
    return true;
}

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

// So many bytes of a scene record say which scene it is.
constexpr std::size_t SCENE_RECORD_BYTES = 16;

SAA_Scene SceneRecord(const RecordedScene& scene);

SAA_Elem ModelHandle(const RecordedScene& scene, int element);
SAA_Elem CurveHandle(const RecordedScene& scene, int element, CurveKind kind);
SAA_Elem TextureHandle(const RecordedScene& scene, int texture);

// What a handle stands for. False for null pointers, for bytes that no function above makes for this scene, and for
// handles of another kind or of another element than asked for. They only read tags and indices; an index is in range
// if the function returns true.
inline bool ModelOfHandle(const RecordedScene& scene, const SAA_Elem* elem, int& element);
bool CurveOfHandle(const RecordedScene& scene, const SAA_Elem* elem, int& element, CurveKind& kind);
bool TextureOfHandle(const RecordedScene& scene, const SAA_Elem* elem, int& texture);

// Reads one of the numbers where it lies.
inline std::uint32_t ElemField(const SAA_Elem& elem, std::size_t field)
{
    std::uint32_t value = 0;
    std::memcpy(&value, elem.bytes + field, sizeof value);
    return value;
}

// One decision for all three.
inline bool IsElemOf(const RecordedScene& scene, const SAA_Elem* elem, HandleKind kind)
{
    return elem != nullptr && ((ElemField(*elem, offsetof(ElemFields, tag)) ^ HANDLE_TAG) |
                               (ElemField(*elem, offsetof(ElemFields, kind)) ^ kind) |
                               (ElemField(*elem, offsetof(ElemFields, scene)) ^ scene.Id())) == 0;
}

inline bool ModelOfHandle(const RecordedScene& scene, const SAA_Elem* elem, int& element)
{
    if (!IsElemOf(scene, elem, KIND_MODEL) || !scene.HasElement(ElemField(*elem, offsetof(ElemFields, index))))
    {
        return false;
    }
    element = static_cast<int>(ElemField(*elem, offsetof(ElemFields, index)));
    return true;
}

// The handles of one kind for the parts of one element. Meshes have hundreds of thousands: what all begin with is put
// together once.
class SubHandles
{
public:
    SubHandles(const RecordedScene& scene, HandleKind kind, int element)
        : m_Fields{HANDLE_TAG, kind, scene.Id(), static_cast<std::uint32_t>(element), 0, 0, {0, 0, 0}}
    {
        std::memcpy(m_Head, &m_Fields, sizeof m_Head);
    }

    // A control vertex by itself, corner 0, has the same bytes for either geometry and for envelopes. Nothing is put
    // together elsewhere first, where it would have to be read back.
    void Write(SAA_SubHandle& handle, std::uint32_t index, std::uint32_t corner = 0) const
    {
        std::memcpy(&handle, &m_Fields, sizeof handle);
        std::memcpy(handle.bytes + offsetof(SubFields, index), &index, sizeof index);
        std::memcpy(handle.bytes + offsetof(SubFields, corner), &corner, sizeof corner);
    }

    // Those of indices 0 to count - 1, all with this corner.
    void WriteAll(SAA_SubHandle* handles, int count, std::uint32_t corner = 0) const
    {
        for (int i = 0; i < count; ++i)
        {
            Write(handles[i], static_cast<std::uint32_t>(i), corner);
        }
    }

    // The index of a handle, UINT32_MAX for one of another kind or element.
    std::uint32_t IndexOf(const SAA_SubHandle& handle) const
    {
        std::uint64_t head[2];
        std::memcpy(head, &handle, sizeof head);
        return head[0] == m_Head[0] && head[1] == m_Head[1] ? Field(handle, offsetof(SubFields, index)) : UINT32_MAX;
    }

    // The third number of a handle that IndexOf knows.
    static std::uint32_t CornerOf(const SAA_SubHandle& handle) { return Field(handle, offsetof(SubFields, corner)); }

private:
    static std::uint32_t Field(const SAA_SubHandle& handle, std::size_t field)
    {
        std::uint32_t value = 0;
        std::memcpy(&value, handle.bytes + field, sizeof value);
        return value;
    }

    SubFields m_Fields;
    std::uint64_t m_Head[2];
};

#include "saa/handles.h"

static SAA_Elem MakeElem(const RecordedScene& scene, HandleKind kind, int index, std::uint32_t part)
{
    const ElemFields fields = {HANDLE_TAG, kind, scene.Id(), static_cast<std::uint32_t>(index), part};
    SAA_Elem elem;
    std::memcpy(&elem, &fields, sizeof elem);
    return elem;
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

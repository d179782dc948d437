// Operations on function curves.
#include "saa/arguments.h"
#include "saa/operations.h"

#include <algorithm>

// The curve's handle, all 0 for one that the element doesn't have.
static SAA_Elem CurveOrNothing(const RecordedScene& scene, int element, CurveKind kind)
{
    return scene.NumKeys(element, kind) > 0 ? CurveHandle(scene, element, kind) : SAA_Elem();
}

static int StoreCurves(const RecordedScene& scene, int element, const CurveKind (&kinds)[3], SAA_Elem* x, SAA_Elem* y,
                       SAA_Elem* z)
{
    if (x == nullptr || y == nullptr || z == nullptr)
    {
        return SAA_STATUS_ARGUMENT;
    }
    *x = CurveOrNothing(scene, element, kinds[0]);
    *y = CurveOrNothing(scene, element, kinds[1]);
    *z = CurveOrNothing(scene, element, kinds[2]);
    return 0;
}

int SAA_modelFcurveGetRotation(const SAA_Scene* scene, const SAA_Elem* elem, SAA_Elem* x, SAA_Elem* y, SAA_Elem* z)
{
    return RunModelOperation(OP_SAA_modelFcurveGetRotation, scene, elem,
                             [&](RecordedScene& current, int element) {
                                 return StoreCurves(current, element,
                                                    {CurveKind::RotationX, CurveKind::RotationY, CurveKind::RotationZ},
                                                    x, y, z);
                             });
}

int SAA_modelFcurveGetTranslation(const SAA_Scene* scene, const SAA_Elem* elem, SAA_Elem* x, SAA_Elem* y, SAA_Elem* z)
{
    return RunModelOperation(
        OP_SAA_modelFcurveGetTranslation, scene, elem,
        [&](RecordedScene& current, int element)
        {
            return StoreCurves(current, element,
                               {CurveKind::TranslationX, CurveKind::TranslationY, CurveKind::TranslationZ}, x, y, z);
        });
}

int SAA_modelFcurveGetShapeInterpolation(const SAA_Scene* scene, const SAA_Elem* elem, SAA_Elem* curve)
{
    return RunModelOperation(OP_SAA_modelFcurveGetShapeInterpolation, scene, elem,
                             [&](RecordedScene& current, int element) -> int
                             {
                                 if (curve == nullptr)
                                 {
                                     return SAA_STATUS_ARGUMENT;
                                 }
                                 *curve = CurveOrNothing(current, element, CurveKind::Shape);
                                 return 0;
                             });
}

// Runs `body` with the scene, the element and the kind of the curve.
template <typename Body>
static int RunCurveOperation(Operation operation, const SAA_Scene* scene, const SAA_Elem* curve, Body body)
{
    return RunSceneOperation(operation, scene,
                             [&](RecordedScene& current) -> int
                             {
                                 int element = -1;
                                 CurveKind kind = CurveKind::RotationX;
                                 return CurveOfHandle(current, curve, element, kind) ? body(current, element, kind)
                                                                                     : SAA_STATUS_HANDLE;
                             });
}

int SAA_fcurveGetNbKeys(const SAA_Scene* scene, const SAA_Elem* curve, int* count)
{
    return RunCurveOperation(OP_SAA_fcurveGetNbKeys, scene, curve,
                             [&](RecordedScene& current, int element, CurveKind kind) -> int
                             { return StoreInt(current.NumKeys(element, kind), count); });
}

int SAA_fcurveGetKeys(const SAA_Scene* scene, const SAA_Elem* curve, int count, SAA_SubHandle* keys)
{
    return RunCurveOperation(
        OP_SAA_fcurveGetKeys, scene, curve,
        [&](RecordedScene& current, int element, CurveKind kind) -> int
        {
            const int status = CheckList(static_cast<std::size_t>(current.NumKeys(element, kind)), count, keys);
            if (status == 0)
            {
                SubHandles(current, KIND_KEY, element).WriteAll(keys, count, static_cast<std::uint32_t>(kind));
            }
            return status;
        });
}

int SAA_fcurveKeyGetTime(const SAA_Scene* scene, const SAA_Elem* curve, int count, const SAA_SubHandle* keys,
                         float* seconds)
{
    return RunCurveOperation(OP_SAA_fcurveKeyGetTime, scene, curve,
                             [&](RecordedScene& current, int element, CurveKind kind) -> int
                             {
                                 const int status = CheckHandles(
                                     static_cast<std::size_t>(current.NumKeys(element, kind)), count, keys, seconds);
                                 if (status != 0)
                                 {
                                     return status;
                                 }
                                 // All handles are looked at before anything is answered.
                                 const std::vector<float>& times = current.KeyTimes(element, kind);
                                 const SubHandles handles(current, KIND_KEY, element);
                                 const auto isKey = [&](const SAA_SubHandle& key) {
                                     return handles.IndexOf(key) < times.size() &&
                                            SubHandles::CornerOf(key) == static_cast<std::uint32_t>(kind);
                                 };
                                 if (!std::all_of(keys, keys + count, isKey))
                                 {
                                     return SAA_STATUS_HANDLE;
                                 }
                                 std::transform(keys, keys + count, seconds,
                                                [&](const SAA_SubHandle& key) { return times[handles.IndexOf(key)]; });
                                 return 0;
                             });
}

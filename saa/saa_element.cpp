// Operations on elements: hierarchy, names, types, transforms, custom values.
#include "saa/arguments.h"
#include "saa/operations.h"
#include "scene/eulerangles.h"

#include <cfloat>
#include <cmath>

// What a float can't hold becomes 0, so that no caller meets an infinity.
static float ToFloat(double value)
{
    return std::fabs(value) <= static_cast<double>(FLT_MAX) ? static_cast<float>(value) : 0.0F;
}

static int StoreThree(const Double3& values, int coordSys, float* x, float* y, float* z)
{
    if (coordSys != 0 || x == nullptr || y == nullptr || z == nullptr)
    {
        return SAA_STATUS_ARGUMENT;
    }
    *x = ToFloat(values.x);
    *y = ToFloat(values.y);
    *z = ToFloat(values.z);
    return 0;
}

int SAA_elementGetHierarchyLevel(const SAA_Scene* scene, const SAA_Elem* elem, int* level)
{
    return RunModelOperation(OP_SAA_elementGetHierarchyLevel, scene, elem,
                             [&](RecordedScene& current, int element)
                             { return StoreInt(current.Element(element).level, level); });
}

int SAA_elementGetName(const SAA_Scene* scene, const SAA_Elem* elem, int size, char* text)
{
    return RunModelOperation(OP_SAA_elementGetName, scene, elem,
                             [&](RecordedScene& current, int element)
                             { return StoreText(current.ToldName(element), size, text); });
}

int SAA_elementIsValid(const SAA_Scene* scene, const SAA_Elem* elem, short* valid)
{
    return RunSceneOperation(OP_SAA_elementIsValid, scene,
                             [&](RecordedScene& current) -> int
                             {
                                 if (elem == nullptr || valid == nullptr)
                                 {
                                     return SAA_STATUS_ARGUMENT;
                                 }
                                 int index = 0;
                                 CurveKind kind = CurveKind::RotationX;
                                 *valid = ModelOfHandle(current, elem, index) ||
                                                  CurveOfHandle(current, elem, index, kind) ||
                                                  TextureOfHandle(current, elem, index)
                                              ? 1
                                              : 0;
                                 return 0;
                             });
}

int SAA_modelGetType(const SAA_Scene* scene, const SAA_Elem* elem, int* type)
{
    return RunModelOperation(OP_SAA_modelGetType, scene, elem,
                             [&](RecordedScene& current, int element)
                             { return StoreInt(current.Element(element).type, type); });
}

int SAA_modelGetNbChildren(const SAA_Scene* scene, const SAA_Elem* elem, int* count)
{
    return RunModelOperation(OP_SAA_modelGetNbChildren, scene, elem,
                             [&](RecordedScene& current, int element)
                             { return StoreInt(static_cast<int>(current.Element(element).children.size()), count); });
}

int SAA_modelGetChildren(const SAA_Scene* scene, const SAA_Elem* elem, int count, SAA_Elem* children)
{
    return RunModelOperation(OP_SAA_modelGetChildren, scene, elem,
                             [&](RecordedScene& current, int element) -> int
                             {
                                 const std::vector<int>& indices = current.Element(element).children;
                                 const int status = CheckList(indices.size(), count, children);
                                 for (std::size_t i = 0; status == 0 && i < indices.size(); ++i)
                                 {
                                     children[i] = ModelHandle(current, indices[i]);
                                 }
                                 return status;
                             });
}

int SAA_modelGetScaling(const SAA_Scene* scene, const SAA_Elem* elem, int coordSys, float* x, float* y, float* z)
{
    return RunModelOperation(OP_SAA_modelGetScaling, scene, elem,
                             [&](RecordedScene& current, int element)
                             { return StoreThree(current.Transform(element).scale, coordSys, x, y, z); });
}

int SAA_modelGetRotation(const SAA_Scene* scene, const SAA_Elem* elem, int coordSys, float* x, float* y, float* z)
{
    return RunModelOperation(
        OP_SAA_modelGetRotation, scene, elem,
        [&](RecordedScene& current, int element)
        { return StoreThree(EulerAnglesFromQuat(current.Transform(element).rotation), coordSys, x, y, z); });
}

int SAA_modelGetTranslation(const SAA_Scene* scene, const SAA_Elem* elem, int coordSys, float* x, float* y, float* z)
{
    return RunModelOperation(OP_SAA_modelGetTranslation, scene, elem,
                             [&](RecordedScene& current, int element)
                             { return StoreThree(current.Transform(element).translation, coordSys, x, y, z); });
}

int SAA_matrixCreateXYZRotation(const float* angles, float* matrix)
{
    return RunOperation(OP_SAA_matrixCreateXYZRotation,
                        [&]() -> int
                        {
                            if (angles == nullptr || matrix == nullptr || !std::isfinite(angles[0]) ||
                                !std::isfinite(angles[1]) || !std::isfinite(angles[2]))
                            {
                                return SAA_STATUS_ARGUMENT;
                            }
                            RowMatrixFromEulerAngles(angles, matrix);
                            return 0;
                        });
}

// The text of a custom value; null if there is none of that name.
static const std::string* FindCustomString(const SAA_CusvalSet* cusvals, const char* name)
{
    const auto it = cusvals->strings.find(name);
    return it == cusvals->strings.end() ? nullptr : &it->second;
}

int SAA_cusvalGetStringLength(const SAA_CusvalSet* cusvals, const char* name, int* length)
{
    return RunOperation(OP_SAA_cusvalGetStringLength,
                        [&]() -> int
                        {
                            if (cusvals == nullptr || name == nullptr || length == nullptr)
                            {
                                return SAA_STATUS_ARGUMENT;
                            }
                            const std::string* text = FindCustomString(cusvals, name);
                            if (text == nullptr)
                            {
                                return SAA_STATUS_NO_VALUE;
                            }
                            *length = static_cast<int>(text->size());
                            return 0;
                        });
}

int SAA_cusvalGetStringValue(const SAA_CusvalSet* cusvals, const char* name, int size, char* text)
{
    return RunOperation(OP_SAA_cusvalGetStringValue,
                        [&]() -> int
                        {
                            if (cusvals == nullptr || name == nullptr)
                            {
                                return SAA_STATUS_ARGUMENT;
                            }
                            const std::string* found = FindCustomString(cusvals, name);
                            return found == nullptr ? SAA_STATUS_NO_VALUE : StoreText(*found, size, text);
                        });
}

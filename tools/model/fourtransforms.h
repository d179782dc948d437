#pragma once

#include "engine/model/src/nodekeyframe.h"
#include "zoltshared/stdzolt/matrix4.h"

#include <cstdint>

// The transforms of one node at four keys in a row, worked on together: element (r, c) of all four stands side by side.
// Row 3 is 0, 0, 0, 1 in each and isn't there. Default construction leaves it unset.
//
// The operations give the bits of those of Matrix4, NodeKeyFrame and Orthonormalise. Where they can't, as a rule since
// a number isn't finite, they return false; what they write is then good for nothing, but keys are left as they are.
struct FourTransforms
{
    static FourTransforms Identity()
    {
        FourTransforms four;
        for (int i = 0; i < 12; ++i)
        {
            for (float& element : four.m[i])
                element = i % 5 == 0 ? 1.0f : 0.0f;
        }
        return four;
    }

    Matrix4 At(uint32_t iKey) const
    {
        Matrix4 single;
        for (int i = 0; i < 12; ++i)
            single.m[i] = m[i][iKey];
        return single;
    }

    float m[12][4];
};

constexpr uint32_t FOUR_KEYS = 4;

// Calls four(iKey) for the first of each four keys in a row, and one(iKey) for those that are left.
template <class Four, class One> void ForKeysByFour(uint32_t nKeys, Four four, One one)
{
    uint32_t iKey = 0;
    for (; nKeys - iKey >= FOUR_KEYS; iKey += FOUR_KEYS)
        four(iKey);
    for (; iKey < nKeys; ++iKey)
        one(iKey);
}

// global = parent × keys; the keys become global.
bool FourToGlobal(FourTransforms& global, const FourTransforms& parent, NodeKeyFrame* pKeys);

// keys = parentInverse × keys; `inverse` is the inverse of what the keys were.
bool FourToLocal(FourTransforms& inverse, const FourTransforms& parentInverse, NodeKeyFrame* pKeys);

// local = keys, global = parent × keys × scale; the keys become `global` orthonormalised. False also where that needs
// a look at the rotations, and for a coordinate beyond `limit`.
bool FourFoldScale(FourTransforms& global, FourTransforms& local, const FourTransforms& parent, const Vector3& scale,
                   float limit, NodeKeyFrame* pKeys);

// global = parent × keys, orthonormalised; flipped = the same with rows 0 and 1 of the rotation and the z of the
// translation negated; keys = parentInverse × flipped, and `inverse` is the inverse of flipped.
bool FourConvert(FourTransforms& global, FourTransforms& flipped, FourTransforms& inverse, const FourTransforms& parent,
                 const FourTransforms& parentInverse, NodeKeyFrame* pKeys);

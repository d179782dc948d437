// Operations of the scene library with answers of the test's own in place of, or after, the true ones.
#pragma once

#include "saa/SAA.h"

#include <functional>
#include <map>
#include <string>

struct LyingHost
{
    std::map<std::string, int> counts; // by operation: what its count or frame answers, with status 0
    std::function<void(SAA_Elem* pChildren, const SAA_Elem* pParent)> children;
    std::function<void(float* pX)> scaling;
    std::function<void(float* pX)> translation;
    std::function<void(float* pMatrix)> rotationMatrix;
    std::function<void(SAA_Position* pPositions)> vertices;
    std::function<void(int* pIndices)> indices;
    std::function<void(float* pU)> texCoords;
    std::function<void(float* pWeights, int nWeights)> weights;
    std::function<void(SAA_SubHandle* pVertices)> envelopeVertices;
    std::function<void(float* pSeconds)> seconds;
};

extern LyingHost g_LyingHost;

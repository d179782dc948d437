#pragma once

#include "engine/model/src/model.h"

#include <string>

// How far the last pose of an animation is from its first.
struct LoopGap
{
    double m_Distance = 0.0;   // the greatest of any node and any vertex, seen from the root node
    std::string m_Where;       // "node foot" or "piece body"
    double m_RootTravel = 0.0; // how far the root node itself goes
    double m_RootTurn = 0.0;   // and by how many degrees it turns
};

// False if a pose can't be evaluated.
bool FindLoopGap(Model& model, uint32_t iAnim, LoopGap& gap);

#pragma once

#include "engine/model/src/model.h"

// Small meshes can vanish when close vertices are merged. What the log is to warn of is noted when this is made, ahead
// of the cleaning of the model's geometry, and told after it.
class VanishedMeshes
{
public:
    // The model isn't owned; its pieces must stay the same ones until Warn. Without memory nothing is noted of them.
    explicit VanishedMeshes(Model* pModel);

    void Warn() const;

private:
    Model* m_pModel;
    bool m_bSmall;                               // as a whole
    DynArray<bool, DefaultCache> m_HadTriangles; // by piece
};

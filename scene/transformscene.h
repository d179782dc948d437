// Turning and scaling a scene as a whole.
#pragma once

#include "scene/scene.h"

// Which way is up before and after: 'x', 'y' or 'z'. The turn from one to the other leaves the third axis in place:
// z up becomes y up by (x, y, z) to (x, z, -y), x up becomes y up by (x, y, z) to (-y, x, z).
struct SceneTransform
{
    double scale = 1.0; // above 0
    char fromUp = 'y';
    char toUp = 'y';
    bool flipV = false; // texture coordinate v becomes 1 - v
};

// Applies the transform to what the scene shows, at rest and in every clip. Nodes stay the nodes that they are, with
// their names, children and scales: the turn goes into the top nodes alone, the scale into every length (translations,
// positions, morph targets, inverse binds), so that keys and skins fit each other as before.
void TransformScene(Scene& scene, const SceneTransform& transform);

// Brings a scene whose file states its unit or its up axis to metres and y up, as glTF has them, and states these from
// then on. A scene that states neither stays as it is. Returns the sentence that tells the user, empty if nothing is
// stated.
std::string ConvertStatedUnits(Scene& scene);

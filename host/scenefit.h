// Bringing a scene into the shape of a model that its animation is added to.
#pragma once

#include "host/appendtarget.h"
#include "saa/recordedscene.h"
#include "scene/shapekeys.h"

#include <string>
#include <vector>

class RigidPoses;

// Nodes go by their names, without a prefix up to the last ':' or '|' and without case (MatchNodes). What comes out is
// a scene of the model's own nodes: those that the original has stand in the world where they stand there, whatever
// they hang on; those that it lacks keep the place that the model's first key gives them below their parent; what the
// model doesn't have is gone, and its motion is in what is below it. Bones keep the lengths that the original has.
class SceneFit
{
public:
    // All must outlive this. `clip` is an index, or -1 for the scene at rest.
    SceneFit(const AppendTarget& target, const Scene& scene, int clip);

    // Nodes of the model that a node of the scene goes by name with. Without any the two have nothing to do with each
    // other.
    int CountNamed() const { return m_Match.CountNamed(); }

    // By node of the model: the scene's node that moves it, -1 for none.
    std::vector<int> SceneNodes() const;

    // What FindShapeKeys needs to know of the model.
    ShapeKeyModel KeyModel() const;

    // Makes the fitted scene and what of it is recorded from what would be recorded of the original, whose play range
    // must be given. It has a key at each of the frames on which the original would have one, and one clip.
    void Fit(const RecordedSceneOptions& options, Scene& fitted, RecordedSceneOptions& fittedOptions) const;

    // A line for each kind of thing that was done, and sentences on names that leave a doubt.
    std::vector<std::string> Describe() const;
    std::vector<std::string> DescribeDoubts() const;

    // A sentence if bones aren't as long as in the model over the frames that get a key; empty if they are. `scale` is
    // what the scene was scaled by. Also for a scene that goes into the model without being fitted.
    std::string CompareBones(const RecordedSceneOptions& options, double scale) const;

    // A sentence if the scene's skeleton at rest lies on its back or face beside the model at its first key, as it does
    // where one of them has z up; empty if not. `isZUp` tells whether that was asked for.
    std::string CompareUp(bool isZUp) const;

private:
    void PlaceNodes(const RigidPoses& poses, std::vector<RigidTransform>& world) const;

    const AppendTarget& m_Target;
    const Scene& m_Scene;
    int m_Clip;
    RecordedScene m_Recorded;
    SceneTree m_Tree;
    NodeMatch m_Match;
    TreeDifference m_Difference;
};

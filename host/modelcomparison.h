// How far a model that was written strays from its scene when it plays.
#pragma once

#include "engine/model/src/model.h"
#include "host/playedclip.h"
#include "host/scenevertices.h"

#include <string>
#include <vector>

// The largest distance between a vertex of the model and that of the scene.
struct ModelDistance
{
    double units = 0.0;
    double part = 0.0; // of the radius
    int frame = 0;
    std::string node; // the scene's element
};

struct ClipDistance
{
    ModelDistance worst;   // at all whole frames of the play range
    ModelDistance atKeys;  // at those that keys lie on
    ModelDistance atFirst; // at the first of them
};

// One animation of the model against its clip.
struct AnimationDistance
{
    ClipDistance all;           // from the scene as it is
    ClipDistance shares;        // from the scene with the weights that a model can hold
    double lostWeights = 0.0;   // how far these two scenes are apart at keys, as a part of the radius: what a model
                                // strays there even if its skin is taken at the bind pose
    std::vector<int> keyFrames; // where the keys lie
};

// A vertex of the model is held against the vertices of the scene that it stands for: those of its piece's mesh within
// the merge limit, at the pose in which the skin was taken; at each frame the nearest one of them counts. A model
// or a scene without vertices, and a scene that was fitted to the model, are compared by the places of the nodes that
// both have.
class ModelComparison
{
public:
    // The model must be loaded. `recorded` gives elements and meshes. Both, and the scenes of the places, must outlive
    // this. `sceneNodes` are those of a scene that was fitted (PlayedClip), else empty. Frames are looked at by `jobs`
    // threads (CountThreads), with the same result whatever their number.
    ModelComparison(Model& model, RecordedScene& recorded, const std::vector<int>& sceneNodes = {}, unsigned jobs = 1);

    // Finds out which vertices belong together. `places` are the poses in which the skin may have been taken; the one
    // that fits best counts, the earlier one if two do. If none fits, the model at the first key of an animation (a row
    // of m_Anims) is held against the scene there.
    void Match(const std::vector<ScenePlace>& places, std::uint32_t row, const PlayedClip& played);

    // How many nodes stand for the whole, 0 where vertices are compared.
    std::size_t NumNodesCompared() const { return m_ByNodes ? m_nPoints : 0; }
    // Whether there is anything to compare.
    bool HasPoints() const { return m_nPoints > 0; }

    // Half the diagonal of the box around the scene's vertices at the pose of the skin; where nodes are compared that
    // of the model's, or of the scene's nodes without any. 1 for no box at all.
    double Radius() const { return m_Radius; }
    // The pose that counts.
    const ScenePlace& SkinPlace() const { return m_SkinPlace; }

    // Plays a row of the model's animations against its clip. False if the model can't be evaluated.
    bool Compare(std::uint32_t row, const PlayedClip& played, AnimationDistance& distance);

private:
    void FindPointsOfNodes(const RecordedScene& recorded, std::vector<int> sceneNodes);
    void PlaceScene(const ScenePlace& place, const SceneWeights& weights, std::vector<Double3>& positions) const;
    void MatchPiece(const std::vector<std::uint32_t>& sceneVertices, std::size_t first, std::size_t count,
                    const std::vector<Double3>& model, const std::vector<Double3>& scene);
    std::vector<std::uint32_t> VerticesFor(std::uint32_t piece) const;
    double Misfit(const std::vector<Double3>& model, const std::vector<Double3>& scene) const;
    void MatchAll(const std::vector<Double3>& model, const std::vector<Double3>& scene);
    // Scratch of one thread.
    struct Workplace
    {
        std::vector<Matrix4> transforms;
        std::vector<Vector3> model; // of the frame being looked at
        std::vector<Double3> scene;
        std::vector<Double3> shares; // by the weights that a model can hold
    };
    // The point that is furthest off: the squared distance, below 0 where there is nothing to stray from, and the
    // scene's point.
    struct FurthestPoint
    {
        double squared = -1.0;
        std::uint32_t scenePoint = 0;
    };
    struct FrameDistance
    {
        bool isEvaluated = false;
        FurthestPoint all;
        FurthestPoint shares;
        double lostSquared = 0.0;
    };
    bool Evaluate(std::uint32_t row, std::uint32_t key, std::uint32_t next, double fraction, Workplace& work) const;
    FurthestPoint FindFurthest(const std::vector<Vector3>& model, const std::vector<Double3>& scene) const;
    // `key` is the last one up to the frame, or the first; `keys` are the frames of all.
    FrameDistance MeasureFrame(std::uint32_t row, const PlayedClip& played, int frame, const std::vector<int>& keys,
                               std::size_t key, Workplace& work) const;
    ModelDistance Describe(int frame, const FurthestPoint& furthest) const;
    void FindShares(const Scene* scene);
    const std::string& NameOf(std::uint32_t scenePoint) const;

    Model& m_Model;
    SceneVertices m_Vertices;
    bool m_ByNodes = false;
    std::size_t m_nPoints = 0;               // vertices of the model, or nodes that are compared
    std::vector<std::uint32_t> m_ModelNodes; // by nodes: those of the model
    std::vector<int> m_SceneNodes;           // and the scene's node of each
    std::vector<std::string> m_NodeNames;
    double m_Radius = 1.0;
    ScenePlace m_SkinPlace;
    std::vector<std::uint32_t> m_CandidateStarts; // m_nPoints + 1
    std::vector<std::uint32_t> m_Candidates;      // scene points of model point i from entry i of the starts on
    const Scene* m_SharesOf = nullptr;            // the scene that m_Shares was made from
    SceneWeights m_Shares;                        // what a model can hold, if the scene's weights differ from it
    unsigned m_nJobs = 1;
};

// The frame of each key of an animation: times are truncated milliseconds from the first key on.
std::vector<int> FramesOfKeys(const ModelAnim& anim, const PlayedClip& played);

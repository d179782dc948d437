#pragma once

#include "engine/play/animclock.h"
#include "engine/play/modelinstance.h"
#include "engine/play/rootmotion.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// How a fade goes from 0 to 1.
enum class FadeCurve
{
    LINEAR,
    SMOOTH, // without a jerk at either end: 3 t² - 2 t³
};

// How an animation is played.
struct PlayOptions
{
    LoopMode m_Loop = LoopMode::LOOP;
    float m_Speed = 1.0f;
    float m_Start = 0.0f; // seconds into the animation
    float m_Fade = 0.0f;  // seconds over which it takes the place of what plays
    FadeCurve m_Curve = FadeCurve::SMOOTH;
};

// A command string of a key that time has passed over.
struct AnimEvent
{
    const char* m_pCommand; // lives as long as the model
    uint32_t m_iAnim;
    uint32_t m_iKey;
    uint32_t m_iLayer; // 0 is the base
    float m_Weight;    // the share of its animation in the layer
};

typedef void (*AnimEventHandler)(void* pUser, const AnimEvent& event);

// Plays animations on an instance: a base, and layers on it. Each goes from what it plays to something else by a
// crossfade, both of which move on meanwhile; a crossfade may set in during another. Times are seconds.
//
// Step passes time and calls events; Apply then sets the positions of the instance, which has to be evaluated:
//
//     player.Step(seconds);
//     player.Apply();
//     instance.Evaluate();
//
// Owns nothing; the instance must outlive it. Allocates nothing. Used by one thread at a time, as the instance.
class AnimPlayer
{
public:
    static constexpr uint32_t NUM_LAYERS = 5;        // the base and four on it
    static constexpr uint32_t MAX_SOURCES = 4;       // animations in a crossfade; with more the oldest ends at once
    static constexpr uint32_t NO_NODE = 0xFFFFFFFFu; // no root motion

    explicit AnimPlayer(ModelInstance& instance) : m_pInstance(&instance) {}

    // Plays an animation, a row of the model's m_Anims, on a layer. False, with nothing changed, for indices out of
    // range, an animation without keys, and numbers that aren't finite.
    bool Play(uint32_t iAnim, const PlayOptions& options = {}, uint32_t iLayer = 0);
    // The same by the name; false if there is none.
    bool Play(const char* pName, const PlayOptions& options = {}, uint32_t iLayer = 0);
    // Ends a layer, which fades out meanwhile. The base ends at once: the figure stands in its bind pose then, or the
    // first layer that plays is its base.
    void Stop(uint32_t iLayer = 0, float fade = 0.0f);

    // Of the animation that was last played on a layer. All are false, or 0, if there is none.
    bool Seek(float time, uint32_t iLayer = 0);
    bool SetSpeed(float speed, uint32_t iLayer = 0);
    bool SetLoopMode(LoopMode loop, uint32_t iLayer = 0);
    bool IsPlaying(uint32_t iLayer = 0) const;
    bool IsFinished(uint32_t iLayer = 0) const;
    float GetTime(uint32_t iLayer = 0) const;
    float GetLength(uint32_t iLayer = 0) const;
    uint32_t GetAnim(uint32_t iLayer = 0) const;

    // Layers from 1 on. A mask is a value from 0 to 1 for each node, NumNodes() of them, which aren't copied; null is 1
    // everywhere. A weight set stands for the mask of its values and says the kind, node by node: 2 adds, all else
    // blends. One in which both stand takes twice the positions; three layers may have such ones, and SetLayerKind lets
    // it go.
    bool SetLayerKind(uint32_t iLayer, LayerKind kind);
    bool SetLayerMask(uint32_t iLayer, const float* pMask);
    bool SetLayerWeightSet(uint32_t iLayer, uint32_t iWeightSet);
    // 0 to 1, reached in so many seconds; 1 at first. False for a number out of range.
    bool SetLayerWeight(uint32_t iLayer, float weight, float seconds = 0.0f);
    float GetLayerWeight(uint32_t iLayer) const;

    // Called during Step for each command string of a key that time passes over, once for each time, in the order of
    // time for each animation; layer by layer. A key at the end of a loop and one at its start are both passed. The
    // handler may use the player's getters, nothing else of it.
    void SetEventHandler(AnimEventHandler pHandler, void* pUser);

    // Takes the motion over the ground of a node, the root or the hips, out of the pose and gives it by
    // TakeRootMotion: the figure's world is to be moved on by it. NO_NODE for none. False for an index out of range and
    // one deeper than MAX_NODE_PATH.
    bool SetRootMotion(uint32_t iNode);
    // The way since the last call, in the figure's space: world = world × ToMatrix().
    RootMotion TakeRootMotion();

    // Passes so many seconds; less than 0, NaN and infinity count as 0.
    void Step(float seconds);
    // Sets positions and pose offset of the instance. False if it refused a position, as after an edit of the model.
    bool Apply();

private:
    // An animation in a crossfade.
    struct Source
    {
        AnimClock m_Clock;
        uint32_t m_iAnim = 0;
        uint32_t m_iKey = 0; // hint for the next look-up
        float m_FadeTime = 0.0f;
        float m_Faded = 0.0f; // seconds
        FadeCurve m_Curve = FadeCurve::LINEAR;

        float GetFade() const;
    };

    struct Layer
    {
        Source m_Sources[MAX_SOURCES]; // the oldest first; each fades in over those before it
        uint32_t m_nSources = 0;
        LayerKind m_Kind = LayerKind::BLEND;
        const float* m_pMask = nullptr;
        float m_MaskFactor = 1.0f;
        bool m_bMixed = false; // the mask is a weight set that adds at some nodes and blends at others
        float m_Weight = 1.0f;
        float m_TargetWeight = 1.0f;
        float m_WeightStep = 0.0f; // a second
        bool m_bEnding = false;

        // The share of each source, which add up to 1.
        void GetShares(float* pShares) const;
        void RemoveSources(uint32_t n);
        // That a source takes.
        uint32_t NumPositions() const { return m_bMixed ? 2 : 1; }
    };

    const Layer* FindLayer(uint32_t iLayer) const { return iLayer < NUM_LAYERS ? &m_Layers[iLayer] : nullptr; }
    Source* FindSource(uint32_t iLayer);
    const Source* FindSource(uint32_t iLayer) const;
    void StepLayer(uint32_t iLayer, double seconds);
    void CallEvents(const Source& source, const TimeSpan& span, uint32_t iLayer, float weight) const;
    bool FindMotion(const Source& source, double time, RootMotion& out);
    bool ApplyLayer(Layer& layer, uint32_t iLayer);
    bool AddPositions(const Layer& layer, uint32_t iLayer, const PosePoint& point, float share, float later);

    ModelInstance* m_pInstance;
    Layer m_Layers[NUM_LAYERS];
    AnimEventHandler m_pHandler = nullptr;
    void* m_pUser = nullptr;
    uint32_t m_iMotionNode = NO_NODE;
    RootMotion m_Motion;
};
ZOLT_END_NAMESPACE
} // namespace zolt

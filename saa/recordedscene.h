// What the stand-in for the host's scene library has open: a scene, one of its clips, a frame rate, and the frame that
// the play control stands on.
#pragma once

#include "saa/customvalues.h"
#include "saa/joinedmesh.h"
#include "scene/scene.h"
#include "scene/scenepose.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct RecordedSceneOptions
{
    int clip = -1;            // index of the clip that plays, -1 for the scene at rest
    double fps = 30.0;        // above 0
    std::optional<int> start; // where they are given they replace the frames of the clip's first and last key
    std::optional<int> end;
    std::shared_ptr<const std::vector<bool>> flatNodes; // what FindFlatNodes gives for the scene, null to ask it
    std::vector<int> extraKeys; // frames on which the top-level element gets a further translation key
    bool warnsOfWeights =
        true; // false where it has been done: the meshes then aren't looked at before they are asked for
    // The scene's own primitives, where nobody needs them once the exporter has read its meshes one after the other:
    // see OpenMesh. No copy of the scene may share them. Null to leave them alone; must outlive the recorded scene.
    ScenePrimitives* spent = nullptr;
};

// An element of the hierarchy: a node of the scene, a further mesh of a node, or the null above several root nodes.
struct RecordedElement
{
    std::string name;
    std::string wish; // see ToldName
    int node = -1;    // the scene's node, -1 for the null at the top
    int use = -1;     // which of the node's meshes it shows, -1 for none
    // Stands for the node itself and has its transform; a further mesh stands where its parent does.
    bool isNode = false;
    int parent = -1;
    std::vector<int> children;
    int level = 0;
    int type = SAA_MNILL;
    SAA_CusvalSet customValues;
};

class ElementNames;

struct RecordedTexture
{
    int width = 2; // pixels, from 2 to 32768
    int height = 2;
    int cropMin[2] = {0, 0}; // both ends of the crop rectangle inclusive
    int cropMax[2] = {1, 1};
};

enum class CurveKind
{
    RotationX,
    RotationY,
    RotationZ,
    TranslationX,
    TranslationY,
    TranslationZ,
    Shape
};

constexpr int NUM_CURVE_KINDS = 7;

class RecordedScene
{
public:
    // `scene` must outlive this and hold what a reader promises; the clip must be one of its clips or -1.
    RecordedScene(const Scene& scene, const RecordedSceneOptions& options);

    const Scene& GetScene() const { return m_Scene; }
    int Clip() const { return m_Options.clip; }
    double Fps() const { return m_Options.fps; }

    // Unlike that of every other one in this process; never 0.
    unsigned Id() const { return m_Id; }

    // The animation name to offer: the clip's name, else the scene's, else the file's stem, until the host sets one.
    const std::string& Name() const { return m_Name; }
    void SetName(const std::string& name) { m_Name = name; }

    // A sentence for each thing that the model will not have as the scene has it.
    const std::vector<std::string>& Warnings() const { return m_Warnings; }

    // The play range, both ends inclusive. The end lies before the start only if the options say so.
    int StartFrame() const { return m_StartFrame; }
    int EndFrame() const { return m_EndFrame; }
    int CurrentFrame() const { return m_CurrentFrame; }
    // An exporter reads the meshes at one frame, and then the animation: with another frame, or the same once more,
    // what was worked out for meshes whose positions have been read is let go. It is worked out again if it is asked
    // for, but for meshes that are spent.
    void SetCurrentFrame(int frame);

    // The elements in file order; children by index. Their names are unique, ignoring case, and don't depend on the
    // clip. Exactly one has the level 0.
    int NumElements() const { return static_cast<int>(m_Elements.size()); }
    bool HasElement(std::size_t element) const { return element < m_NodeOf.size(); }
    const RecordedElement& Element(int element) const { return m_Elements[element]; }
    // The scene's node that an element stands for, -1 for none.
    int NodeOf(int element) const { return m_NodeOf[element]; }
    // The element that stands for a node that is shown.
    int ElementOf(int node) const { return m_ElementOf[node]; }
    // The name as an exporter is told it: with a wish behind it, a token of its own language, where the host sets one.
    std::string ToldName(int element) const { return m_Elements[element].name + m_Elements[element].wish; }
    void SetWish(int element, const std::string& token) { m_Elements[element].wish = token; }
    SAA_CusvalSet& CustomValues(int element) { return m_Elements[element].customValues; }
    bool IsMesh(int element) const { return m_Elements[element].use >= 0; }
    // Whether the element is a mesh, of which more than its envelopes is to be asked now. An exporter reads one mesh
    // after the other: with the next one what was worked out for the positions of the one before is let go, and where
    // the options say so it is spent: only its envelopes are known from then on, and those up to the next frame.
    bool OpenMesh(int element);
    // Whether the element is a mesh whose envelopes are known.
    bool HasEnvelopes(int element) const { return IsMesh(element) && (!m_IsSpent[element] || m_Meshes[element]); }

    bool IsEnveloped(int element) const { return IsMesh(element) && Use(element).skin >= 0; }

    // Local transform at the current frame.
    const DoubleTransform& Transform(int element);

    // For elements that are meshes and not spent: the file's triangles, the joined vertices, and their positions in the
    // element's own space. Deformed positions are those at the current frame, with morph targets and envelopes.
    const ScenePrimitive& Primitive(int element) const { return m_Scene.primitives[Use(element).primitive]; }
    const JoinedMesh& Mesh(int element);
    const std::vector<Double3>& Positions(int element, bool deformed);

    // Whether the element hands out its triangles the other way round: it has no skin, and its global transform at the
    // current frame mirrors.
    bool IsTurned(int element);

    // The index of the mesh's texture, -1 if it has no texture coordinates.
    int TextureOf(int element) const;
    int NumTextures() const { return static_cast<int>(m_Textures.size()); }
    RecordedTexture& Texture(int texture) { return m_Textures[texture]; }

    // The function curves of an element, and for each key its time: that of the file where SAA_seconds2Frame brings it
    // to the key's frame, else that of the frame.
    int NumKeys(int element, CurveKind kind) const;
    // The times are there until it is called again.
    const std::vector<float>& KeyTimes(int element, CurveKind kind);

private:
    const SceneMeshUse& Use(int element) const
    {
        return m_Scene.nodes[m_Elements[element].node].meshes[m_Elements[element].use];
    }
    const SceneChannel* Channel(int element, CurveKind kind) const;
    std::size_t NumExtraKeys(int element, CurveKind kind) const;
    const ScenePose& LocalPose(); // all but the globals
    const ScenePose& Pose();
    void BuildElements();
    void AddNodeElements(int node, const std::string& name, bool isFlat, ElementNames& names);
    void NameParts(ElementNames& names);
    void Link(int parent, int child);
    void LinkElements(const std::vector<bool>& isFlat, bool hasNull);
    void SetLevels();
    void BuildTextures();
    void IndexChannels();
    void CollectWarnings();
    DoubleMatrix SpaceOf(int element);
    void LeaveMesh(int element);

    // What is worked out for a mesh when it is first asked for.
    struct MeshCache
    {
        JoinedMesh mesh;
        std::vector<Double3> original;
        bool isDeformed = false; // `deformed` holds the positions at `frame`
        int frame = 0;
        std::vector<Double3> deformed;
    };

    const Scene& m_Scene;
    RecordedSceneOptions m_Options;
    unsigned m_Id = 0;
    std::string m_Name;
    int m_StartFrame = 0;
    int m_EndFrame = 0;
    int m_CurrentFrame = 0;
    bool m_bPoseValid = false;
    bool m_bGlobalsValid = false; // false without m_bPoseValid
    ScenePose m_Pose;             // at the current frame, as far as it is valid
    std::vector<RecordedElement> m_Elements;
    std::vector<bool> m_IsShown;                      // for each node whether it is an element
    std::vector<int> m_NodeOf;                        // see NodeOf
    std::vector<int> m_ElementOf;                     // for each node its element, -1 where it isn't shown
    std::vector<std::array<int, 4>> m_ChannelOf;      // for each node by path the clip's channel, -1 for none
    std::vector<float> m_KeyTimes;                    // see KeyTimes
    const SceneChannel* m_KeyChannel = nullptr;       // whose times they are, and as a rule the next one's; else null
    std::vector<RecordedTexture> m_Textures;          // one for each image, and one for meshes without
    std::vector<std::unique_ptr<MeshCache>> m_Meshes; // by element, null until asked for
    int m_ReadMesh = -1;                              // whose positions were read last, since the frame was set
    std::vector<bool> m_IsSpent;                      // by element, see OpenMesh
    std::vector<int> m_nUses;                         // by primitive, of those that may be spent: meshes that aren't
    std::vector<std::string> m_Warnings;
};

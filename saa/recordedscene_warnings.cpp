#include "saa/recordedscene.h"
#include "scene/cliprange.h"

#include <algorithm>

void RecordedScene::CollectWarnings()
{
    m_Warnings = m_Scene.warnings;
    if (AnimatesScale(m_Scene, m_Options.clip))
    {
        m_Warnings.emplace_back("The clip animates scale; a model keeps the scale of its first frame.");
    }
    if (m_Options.clip >= 0)
    {
        const std::vector<SceneChannel>& channels = m_Scene.clips[m_Options.clip].channels;
        if (std::any_of(channels.begin(), channels.end(),
                        [](const SceneChannel& channel) { return channel.path == ScenePath::Weights; }))
        {
            m_Warnings.emplace_back("The clip moves morph targets; a model keeps the shape of its first frame.");
        }
    }
    std::vector<int> elementOfNode(m_Scene.nodes.size(), -1);
    for (int i = 0; i < NumElements(); ++i)
    {
        if (m_Elements[i].isNode)
        {
            elementOfNode[m_Elements[i].node] = i;
        }
    }
    for (int i = 0; i < NumElements(); ++i)
    {
        if (IsEnveloped(i))
        {
            WarnAboutWeights(i, elementOfNode);
        }
    }
}

void RecordedScene::WarnAboutWeights(int element, const std::vector<int>& elementOfNode)
{
    const JoinedMesh& mesh = Mesh(element);
    std::vector<bool> isMoved(mesh.fileVertex.size(), false);
    bool strayJoint = false;
    for (const JoinedWeight& weight : mesh.weights)
    {
        // As an exporter does it: the percentage as a float, and nothing up to 0.05.
        const bool kept = PercentAsFloat(weight.percent) / 100.0 > 0.05F;
        const bool known = elementOfNode[weight.node] >= 0;
        strayJoint = strayJoint || (kept && !known);
        if (kept && known)
        {
            isMoved[weight.vertex] = true;
        }
    }
    const std::string place = "Mesh " + m_Elements[element].name + ": ";
    if (strayJoint)
    {
        m_Warnings.push_back(place + "a joint of its skin isn't part of the scene; its weights are lost.");
    }
    const auto nUnmoved = std::count(isMoved.begin(), isMoved.end(), false);
    if (nUnmoved == static_cast<std::ptrdiff_t>(isMoved.size()))
    {
        m_Warnings.push_back(place + "no weight is above 5 %; it moves with its own node.");
    }
    else if (nUnmoved > 0)
    {
        m_Warnings.push_back(place + std::to_string(nUnmoved) +
                             (nUnmoved == 1 ? " vertex has no weight above 5 %; it deforms to 0, 0, 0."
                                            : " vertices have no weight above 5 %; they deform to 0, 0, 0."));
    }
}

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
    ShareChanges changes;
    for (int i = 0; m_Options.warnsOfWeights && i < NumElements(); ++i)
    {
        if (IsEnveloped(i))
        {
            changes.Add(Mesh(i).changes);
        }
    }
    if (changes.mended > 0)
    {
        m_Warnings.push_back(
            std::to_string(changes.mended) +
            (changes.mended == 1 ? " vertex has no weight above 2.5 %; it follows"
                                 : " vertices have no weight above 2.5 %; they follow") +
            " the greatest one, or without any the joint above all others of the skin, else the mesh's node.");
    }
}

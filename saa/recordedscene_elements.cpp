#include "saa/elementnames.h"
#include "saa/recordedscene.h"
#include "scene/shownnodes.h"

static int TypeOf(const SceneNode& node)
{
    if (!node.meshes.empty())
    {
        return SAA_MSMSH;
    }
    return node.isJoint ? SAA_MJNT : SAA_MNILL;
}

static RecordedElement MakeNodeElement(const SceneNode& node, int index, const std::string& name)
{
    RecordedElement element;
    element.name = name;
    element.node = index;
    element.use = node.meshes.empty() ? -1 : 0;
    element.isNode = true;
    element.type = TypeOf(node);
    for (const auto& [key, text] : node.customValues)
    {
        element.customValues.strings[key] = text;
    }
    return element;
}

void RecordedScene::BuildElements()
{
    ElementNames names;
    const std::vector<std::string> nodeNames = NameNodes(m_Scene, names);
    std::vector<bool> shown(m_Scene.nodes.size(), false);
    for (const int node : FindShownNodes(m_Scene))
    {
        shown[node] = true;
    }
    std::vector<int> elementOf(m_Scene.nodes.size(), -1);
    const bool hasNull = m_Scene.roots.size() != 1;
    if (hasNull)
    {
        RecordedElement top;
        top.name = names.Take(m_Scene.name.empty() ? m_Scene.fileStem : m_Scene.name);
        m_Elements.push_back(top);
    }
    // Every element first, so that a child's element is known when it is linked.
    for (std::size_t i = 0; i < m_Scene.nodes.size(); ++i)
    {
        if (!shown[i])
        {
            continue;
        }
        const SceneNode& node = m_Scene.nodes[i];
        const int element = NumElements();
        elementOf[i] = element;
        m_Elements.push_back(MakeNodeElement(node, static_cast<int>(i), nodeNames[i]));
        for (std::size_t use = 1; use < node.meshes.size(); ++use)
        {
            RecordedElement further;
            further.name = names.Take(nodeNames[i] + "_" + std::to_string(use));
            further.node = static_cast<int>(i);
            further.use = static_cast<int>(use);
            further.parent = element;
            further.type = SAA_MSMSH;
            m_Elements.push_back(further);
        }
    }
    for (std::size_t i = 0; i < m_Scene.nodes.size(); ++i)
    {
        if (!shown[i])
        {
            continue;
        }
        const int element = elementOf[i];
        for (const int child : m_Scene.nodes[i].children)
        {
            m_Elements[element].children.push_back(elementOf[child]);
            m_Elements[elementOf[child]].parent = element;
        }
        for (std::size_t use = 1; use < m_Scene.nodes[i].meshes.size(); ++use)
        {
            m_Elements[element].children.push_back(element + static_cast<int>(use));
        }
    }
    for (const int root : m_Scene.roots)
    {
        if (hasNull)
        {
            m_Elements[0].children.push_back(elementOf[root]);
            m_Elements[elementOf[root]].parent = 0;
        }
    }
    SetLevels();
}

void RecordedScene::SetLevels()
{
    std::vector<int> order;
    for (int i = 0; i < NumElements(); ++i)
    {
        if (m_Elements[i].parent < 0)
        {
            order.push_back(i);
        }
    }
    for (std::size_t next = 0; next < order.size(); ++next)
    {
        const RecordedElement& element = m_Elements[order[next]];
        for (const int child : element.children)
        {
            m_Elements[child].level = element.level + 1;
            order.push_back(child);
        }
    }
}

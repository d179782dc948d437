#include "saa/elementnames.h"
#include "saa/recordedscene.h"
#include "scene/flatnodes.h"
#include "scene/shownnodes.h"

#include <algorithm>
#include <utility>

// The elements of a node: itself, with its first mesh, and one for each further mesh. A skinned mesh goes by its joints
// alone, so where the node's space is flat, it gets an element that will stand elsewhere.
void RecordedScene::AddNodeElements(int node, const std::string& name, bool isFlat, ElementNames& names)
{
    const SceneNode& source = m_Scene.nodes[node];
    RecordedElement element;
    element.name = name;
    element.node = node;
    element.isNode = true;
    element.type = source.isJoint ? SAA_MJNT : SAA_MNILL;
    for (const auto& [key, text] : source.customValues)
    {
        element.customValues.strings[key] = text;
    }
    const int first = NumElements();
    m_Elements.push_back(std::move(element));
    for (std::size_t use = 0; use < source.meshes.size(); ++use)
    {
        if (use == 0 && !(isFlat && source.meshes[use].skin >= 0))
        {
            m_Elements[first].use = 0;
            m_Elements[first].type = SAA_MSMSH;
            continue;
        }
        RecordedElement further;
        further.node = node;
        further.use = static_cast<int>(use);
        further.type = SAA_MSMSH;
        if (source.meshes[use].part == 0)
        {
            further.name = names.Take(name + "_" + std::to_string(std::max<std::size_t>(use, 1)));
        }
        m_Elements.push_back(std::move(further));
    }
}

// The further parts of a mesh are named after all else, which so is called as it would be without them.
void RecordedScene::NameParts(ElementNames& names)
{
    std::map<std::pair<int, int>, std::string> nameOf; // by node and use
    for (const RecordedElement& element : m_Elements)
    {
        if (element.use >= 0)
        {
            nameOf[{element.node, element.use}] = element.name;
        }
    }
    for (RecordedElement& element : m_Elements)
    {
        if (element.use >= 0 && m_Scene.nodes[element.node].meshes[element.use].part > 0)
        {
            const SceneMeshUse& use = m_Scene.nodes[element.node].meshes[element.use];
            element.name = names.TakePart(nameOf[{element.node, use.whole}], use.part + 1);
        }
    }
}

void RecordedScene::Link(int parent, int child)
{
    m_Elements[parent].children.push_back(child);
    m_Elements[child].parent = parent;
}

// Every element is there; children come before further meshes.
void RecordedScene::LinkElements(const std::vector<bool>& isFlat, bool hasNull)
{
    for (std::size_t i = 0; hasNull && i < m_Scene.roots.size(); ++i)
    {
        Link(0, m_ElementOf[m_Scene.roots[i]]);
    }
    for (std::size_t i = 0; i < m_Scene.nodes.size(); ++i)
    {
        for (std::size_t k = 0; m_IsShown[i] && k < m_Scene.nodes[i].children.size(); ++k)
        {
            Link(m_ElementOf[i], m_ElementOf[m_Scene.nodes[i].children[k]]);
        }
    }
    for (int i = 0; i < NumElements(); ++i)
    {
        if (m_Elements[i].isNode || m_Elements[i].use < 0)
        {
            continue;
        }
        int place = m_Elements[i].node;
        while (IsEnveloped(i) && place >= 0 && isFlat[place])
        {
            place = m_Scene.nodes[place].parent;
        }
        Link(place < 0 ? 0 : m_ElementOf[place], i);
    }
}

void RecordedScene::BuildElements()
{
    ElementNames names;
    const std::vector<std::string> nodeNames = NameNodes(m_Scene, names);
    const std::vector<bool> isFlat = m_Options.flatNodes ? *m_Options.flatNodes : FindFlatNodes(m_Scene);
    // A flat root's skinned mesh can only stand beside it.
    bool hasNull = m_Scene.roots.size() != 1;
    m_IsShown.assign(m_Scene.nodes.size(), false);
    for (const int node : FindShownNodes(m_Scene))
    {
        m_IsShown[node] = true;
        for (const SceneMeshUse& use : m_Scene.nodes[node].meshes)
        {
            hasNull = hasNull || (use.skin >= 0 && isFlat[m_Scene.roots[0]] && isFlat[node]);
        }
    }
    if (hasNull)
    {
        RecordedElement top;
        top.name = names.Take(m_Scene.name.empty() ? m_Scene.fileStem : m_Scene.name);
        m_Elements.push_back(top);
    }
    m_ElementOf.assign(m_Scene.nodes.size(), -1);
    for (std::size_t i = 0; i < m_Scene.nodes.size(); ++i)
    {
        if (m_IsShown[i])
        {
            m_ElementOf[i] = NumElements();
            AddNodeElements(static_cast<int>(i), nodeNames[i], isFlat[i], names);
        }
    }
    NameParts(names);
    LinkElements(isFlat, hasNull);
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

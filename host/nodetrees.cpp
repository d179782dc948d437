#include "host/nodetrees.h"

#include "host/scenevertices.h"
#include "zoltshared/stdzolt/findnametoken.h"

SceneTree MakeSceneTree(const RecordedScene& recorded)
{
    SceneTree scene;
    scene.elements = ElementsInPreOrder(recorded);
    std::vector<int> placeOf(scene.elements.size(), -1);
    for (const int element : scene.elements)
    {
        const RecordedElement& recordedElement = recorded.Element(element);
        placeOf[static_cast<size_t>(element)] = scene.tree.NumNodes();
        const int parent = recordedElement.parent;
        scene.tree.parents.push_back(parent < 0 ? -1 : placeOf[static_cast<size_t>(parent)]);
        scene.tree.names.push_back(recordedElement.name);
        scene.fixed.push_back(FindNameToken(recordedElement.name.c_str(), "N") != nullptr);
    }
    return scene;
}

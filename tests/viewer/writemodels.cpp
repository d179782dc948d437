// Writes models that have what an export hasn't: writemodels FOLDER. parent.abc with levels of detail, a socket, a
// weight set, a node of fixed offset, an offset of the root, and the child model child.abc, whose bind pose differs.

#include "tests/abctools/testmodel.h"
#include "zoltshared/stdzolt/rotations.h"

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    const std::string folder = argv[1];
    const ModelPointer parent = MakeTestModel();
    const ModelPointer child = MakeChildModel("jump", 40.0f);
    const Vector3 place(3.0f, 11.0f, 2.0f);
    const Quaternion turn(0.0f, 0.6f, 0.0f, 0.8f);
    Matrix4 turned;
    BuildTransform(&place, &turn, nullptr, turned);
    child->GetNode(1)->SetGlobalTransform(turned);
    const std::vector<uint8_t> childBytes = BytesOf(*child);
    // Saving moves the stamp of the model on; the file has the one before.
    const ModelPointer saved = LoadBytes(childBytes);
    char error[MODEL_ERRSTR_SIZE];
    parent->GetAnimInfo(0)->m_vTranslation = Vector3(1.0f, -2.0f, 3.0f);
    if (!parent->AddChildModel(saved.get(), "child.abc", error, QZTRUE))
        return 1;
    WriteBytes(folder + "/child.abc", childBytes);
    WriteBytes(folder + "/parent.abc", BytesOf(*parent));
    parent->RemoveChildModel(1);
    return 0;
}

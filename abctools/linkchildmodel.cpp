#include "abctools/linkchildmodel.h"

#include "abctools/format.h"
#include "abctools/modelfile.h"
#include "engine/model/src/model.h"

bool LinkChildModel(Model& model, const std::string& path, const std::string& name, std::string& error)
{
    std::vector<uint8_t> bytes;
    LoadRequest request;
    request.m_bLoadChildModels = QZFALSE;
    Model* pChild = Model::CreateModel();
    char message[MODEL_ERRSTR_SIZE] = "Out of memory.";
    std::string childError;
    if (!pChild || !ReadModelBytes(path, bytes, childError) || !LoadModelBytes(bytes, *pChild, request, childError))
    {
        error = Format("child model %s: %s", path.c_str(), childError.c_str());
        Model::DeleteModel(pChild);
        return false;
    }
    const bool bAlone = pChild->NumChildModels() == 1;
    if (!bAlone || !model.AddChildModel(pChild, name.c_str(), message, QZTRUE))
    {
        error = Format("child model %s: %s", path.c_str(), bAlone ? message : "it has child models of its own");
        if (error.back() == '.')
            error.pop_back();
        if (pChild->IsUnreferenced())
            Model::DeleteModel(pChild);
        return false;
    }
    return true;
}

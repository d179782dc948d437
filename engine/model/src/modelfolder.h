#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/ownedstring.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class Model;
struct LoadRequest;

// A ready source of child models: looks their files up by name in one folder, as a rule that of the parent.
//
//     ModelFolder folder("models/guard");
//     LoadRequest request;
//     request.m_pStream = pStream;
//     folder.Attach(&request);
//     uint32_t result = pModel->Load(&request);
//
// Each file is loaded once, however many parents ask for it, without child models of its own. The folder holds a
// counted reference on every model that it has loaded, so that no parent deletes one that another may still get. When
// the folder goes, the references go with it: a model that no link holds by then is deleted, any other belongs to the
// parents that link it, the last of which deletes it in its destructor or in Term(QZTRUE). A parent may so outlive its
// folder or go before it.
class ModelFolder
{
public:
    // Null or an empty text is the current folder.
    explicit ModelFolder(const char* pFolder);
    ~ModelFolder();
    ModelFolder(const ModelFolder&) = delete;
    ModelFolder& operator=(const ModelFolder&) = delete;

    // Lets a request ask this folder, which must live until the load is over: sets the callback and the user data.
    void Attach(LoadRequest* pRequest);
    // The callback itself; m_pUser of the request is the ModelFolder.
    static uint32_t LoadCallback(LoadRequest* pChildRequest, Model** ppModel);

    // The model of a file of the folder, loaded now if it wasn't before. RESULT_OK with *ppModel set;
    // RESULT_NOT_LOADED if the name leaves the folder or if there is no such file; RESULT_ERROR without memory; or what
    // the load of a damaged file gave. *ppModel is null then. The model isn't the caller's to delete.
    uint32_t GetModel(const char* pName, Model** ppModel);
    // Models that are loaded.
    uint32_t NumModels() const;

    // False for a name that doesn't lead to a file below the folder: an absolute one, one with a drive or another
    // colon, one with a ".." in it, an empty one. Both slashes separate, on every platform. Links in the file system
    // are followed.
    static bool StaysInside(const char* pName);

private:
    struct Entry;

    Entry* m_pFirst = nullptr;
    OwnedString m_Folder;
};

ZOLT_END_NAMESPACE

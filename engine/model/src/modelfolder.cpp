#include "engine/model/src/modelfolder.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/memorystream.h"

#include <cstring>
#include <new>

ZOLT_BEGIN_NAMESPACE

struct ModelFolder::Entry
{
    Entry* m_pNext = nullptr;
    OwnedString m_Path;
    Model* m_pModel = nullptr; // with one reference of the folder's
};

static bool IsSeparator(char c)
{
    return c == '/' || c == '\\';
}

// Puts the steps of a name behind the folder's path, one slash between two, without empty and "." ones, so that one
// file has one path. False without memory.
static bool MakePath(OwnedString& path, const char* pFolder, const char* pName)
{
    const size_t folderLength = strlen(pFolder);
    char* pPath = new (std::nothrow) char[folderLength + strlen(pName) + 2];
    if (!pPath)
        return false;
    memcpy(pPath, pFolder, folderLength);
    char* pEnd = pPath + folderLength;
    while (*pName)
    {
        size_t length = 0;
        while (pName[length] && !IsSeparator(pName[length]))
            ++length;
        if (length != 0 && !(length == 1 && pName[0] == '.'))
        {
            if (pEnd != pPath && !IsSeparator(pEnd[-1]))
                *pEnd++ = '/';
            memcpy(pEnd, pName, length);
            pEnd += length;
        }
        pName += length;
        if (*pName)
            ++pName;
    }
    *pEnd = 0;
    path.Set(pPath);
    const bool bStored = strcmp(path.GetString(), pPath) == 0;
    delete[] pPath;
    return bStored;
}

ModelFolder::ModelFolder(const char* pFolder)
{
    m_Folder.Set(pFolder);
}

ModelFolder::~ModelFolder()
{
    while (Entry* pEntry = m_pFirst)
    {
        m_pFirst = pEntry->m_pNext;
        pEntry->m_pModel->Release();
        if (pEntry->m_pModel->IsUnreferenced())
            Model::DeleteModel(pEntry->m_pModel);
        delete pEntry;
    }
}

void ModelFolder::Attach(LoadRequest* pRequest)
{
    pRequest->m_pLoadCallback = LoadCallback;
    pRequest->m_pUser = this;
}

uint32_t ModelFolder::LoadCallback(LoadRequest* pChildRequest, Model** ppModel)
{
    return static_cast<ModelFolder*>(pChildRequest->m_pUser)->GetModel(pChildRequest->m_pFilename, ppModel);
}

bool ModelFolder::StaysInside(const char* pName)
{
    if (!pName || !*pName || IsSeparator(*pName) || strchr(pName, ':'))
        return false;
    bool bNamesFile = false;
    while (*pName)
    {
        const size_t length = strcspn(pName, "/\\");
        if (length == 2 && pName[0] == '.' && pName[1] == '.')
            return false;
        bNamesFile = length != 0 && !(length == 1 && pName[0] == '.');
        pName += length;
        if (*pName)
        {
            ++pName;
            bNamesFile = bNamesFile && *pName;
        }
    }
    return bNamesFile;
}

uint32_t ModelFolder::GetModel(const char* pName, Model** ppModel)
{
    *ppModel = nullptr;
    if (!StaysInside(pName))
        return RESULT_NOT_LOADED;
    OwnedString path;
    if (!MakePath(path, m_Folder.GetString(), pName))
        return RESULT_ERROR;
    for (const Entry* pEntry = m_pFirst; pEntry; pEntry = pEntry->m_pNext)
    {
        if (pEntry->m_Path.Equals(path))
        {
            *ppModel = pEntry->m_pModel;
            return RESULT_OK;
        }
    }

    ModelStream* pStream = LoadFileToMemoryStream(path.GetString());
    if (!pStream)
        return RESULT_NOT_LOADED;
    LoadRequest request;
    request.m_pStream = pStream;
    request.m_bLoadChildModels = QZFALSE;
    Model* pModel = Model::CreateModel();
    Entry* pEntry = new (std::nothrow) Entry;
    const uint32_t result = pModel && pEntry ? pModel->Load(&request) : static_cast<uint32_t>(RESULT_ERROR);
    pStream->Release();
    if (result != RESULT_OK)
    {
        Model::DeleteModel(pModel);
        delete pEntry;
        return result;
    }
    pModel->SetFilename(path.GetString());
    pModel->AddRef();
    pEntry->m_Path = path;
    pEntry->m_pModel = pModel;
    pEntry->m_pNext = m_pFirst;
    m_pFirst = pEntry;
    *ppModel = pModel;
    return RESULT_OK;
}

uint32_t ModelFolder::NumModels() const
{
    uint32_t nModels = 0;
    for (const Entry* pEntry = m_pFirst; pEntry; pEntry = pEntry->m_pNext)
        ++nModels;
    return nModels;
}

ZOLT_END_NAMESPACE

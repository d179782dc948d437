#include "zolt/handles.h"

#include <cerrno>
#include <climits>
#include <mutex>
#include <new>
#include <string>

// Models are made and destroyed by one thread at a time.
static std::mutex g_ModelMutex;

void ReleaseModel(zolt_model* pModel)
{
    if (--pModel->m_nUsers != 0)
        return;
    const std::lock_guard lock(g_ModelMutex);
    delete pModel;
}

static zolt_model* Load(ModelStream& stream, const char* pFolder)
{
    const std::lock_guard lock(g_ModelMutex);
    std::unique_ptr<zolt_model> pModel(new (std::nothrow) zolt_model);
    char text[LOAD_ERROR_TEXT_SIZE];
    LoadRequest request;
    request.m_pStream = &stream;
    request.m_pErrorText = text;
    request.m_ErrorTextSize = sizeof(text);
    ModelFolder folder(pFolder);
    if (pFolder)
        folder.Attach(&request);
    if (!pModel)
        SetZoltError("out of memory");
    else if (pModel->m_Model.Load(&request) != RESULT_OK)
        SetZoltError("the model can't be loaded: %s", text);
    else if (!pModel->m_Bounds.Init(pModel->m_Model))
        SetZoltError("out of memory");
    else
    {
        AddHandle(pModel.get());
        return pModel.release();
    }
    return nullptr;
}

zolt_model* zolt_model_load_file(const char* path)
{
    if (!path)
    {
        SetZoltError("the path is null");
        return nullptr;
    }
    ModelStream* pStream = OpenStdioStream(path, "rb");
    if (!pStream)
    {
        SetZoltError("%s can't be opened: %s", path, std::strerror(errno));
        return nullptr;
    }
    const std::string whole = path;
    zolt_model* pModel = Load(*pStream, whole.substr(0, whole.find_last_of("/\\") + 1).c_str());
    pStream->Release();
    return pModel;
}

zolt_model* zolt_model_load_memory(size_t size, const void* data)
{
    if (!data || size > UINT32_MAX)
    {
        SetZoltError(data ? "more bytes than a model file can have" : "the data are null");
        return nullptr;
    }
    FixedMemoryStream stream(const_cast<void*>(data), static_cast<uint32_t>(size)); // it is only read
    return Load(stream, nullptr);
}

void zolt_model_free(zolt_model* model)
{
    if (!model || !CheckHandle(model, "the model"))
        return;
    RemoveHandle(model);
    ReleaseModel(model);
}

static uint32_t Count(const Model& model, zolt_kind kind)
{
    switch (kind)
    {
    case ZOLT_NODE:
        return model.NumNodes();
    case ZOLT_PIECE:
        return model.NumPieces();
    case ZOLT_ANIM:
        return model.NumAnims();
    case ZOLT_SOCKET:
        return model.NumSockets();
    case ZOLT_WEIGHT_SET:
        return model.NumWeightSets();
    case ZOLT_LOD:
        return model.NumLODs();
    }
    return 0;
}

uint32_t zolt_model_count(const zolt_model* model, zolt_kind kind)
{
    return CheckHandle(model, "the model") ? Count(model->m_Model, kind) : 0;
}

const char* zolt_model_name(const zolt_model* model, zolt_kind kind, uint32_t index)
{
    if (!CheckHandle(model, "the model") || !CheckIndex(index, Count(model->m_Model, kind), "element"))
        return nullptr;
    switch (kind)
    {
    case ZOLT_NODE:
        return model->m_Model.GetNode(index)->GetName();
    case ZOLT_PIECE:
        return model->m_Model.GetPiece(index)->GetName();
    case ZOLT_ANIM:
        return model->m_Model.GetAnim(index)->GetName();
    case ZOLT_SOCKET:
        return model->m_Model.GetSocket(index)->GetName();
    case ZOLT_WEIGHT_SET:
        return model->m_Model.GetWeightSet(index)->GetName();
    case ZOLT_LOD:
        break;
    }
    SetZoltError("that kind has no names");
    return nullptr;
}

int32_t zolt_model_find(const zolt_model* model, zolt_kind kind, const char* name)
{
    if (!CheckHandle(model, "the model") || (!name && !SetZoltError("the name is null")))
        return -1;
    Model& look = const_cast<Model&>(model->m_Model); // looking up changes nothing
    uint32_t index = 0;
    bool bFound = false;
    switch (kind)
    {
    case ZOLT_NODE:
        bFound = look.FindNode(name, &index);
        break;
    case ZOLT_PIECE:
        bFound = look.FindPiece(name, &index);
        break;
    case ZOLT_ANIM:
        bFound = look.FindAnim(name, &index, nullptr);
        break;
    case ZOLT_SOCKET:
        bFound = look.FindSocket(name, &index);
        break;
    case ZOLT_WEIGHT_SET:
        bFound = look.FindWeightSet(name, &index);
        break;
    case ZOLT_LOD:
        break;
    }
    if (!bFound)
        SetZoltError("there is no \"%s\"", name);
    return bFound && index <= INT32_MAX ? static_cast<int32_t>(index) : -1;
}

uint32_t zolt_model_num_vertices(const zolt_model* model, uint32_t lod)
{
    if (!CheckHandle(model, "the model") || !CheckIndex(lod, model->m_Model.NumLODs(), "LOD"))
        return 0;
    uint32_t n = 0;
    for (uint32_t i = 0; i < model->m_Model.NumPieces(); ++i)
        n += model->m_Model.GetPiece(i)->GetLOD(lod)->NumVerts();
    return n;
}

const char* zolt_model_command_string(const zolt_model* model)
{
    return CheckHandle(model, "the model") ? model->m_Model.m_CommandString : nullptr;
}

static const ModelNode* FindNode(const zolt_model* model, uint32_t node)
{
    return CheckHandle(model, "the model") && CheckIndex(node, model->m_Model.NumNodes(), "node")
               ? model->m_Model.GetNode(node)
               : nullptr;
}

int32_t zolt_node_parent(const zolt_model* model, uint32_t node)
{
    const ModelNode* pNode = FindNode(model, node);
    return pNode && pNode->GetParentIndex() != MNODE_NO_PARENT ? static_cast<int32_t>(pNode->GetParentIndex()) : -1;
}

int zolt_node_bind_matrix(const zolt_model* model, uint32_t node, float out[16])
{
    const ModelNode* pNode = FindNode(model, node);
    if (!pNode)
        return 0;
    if (!out)
    {
        SetZoltError("out is null");
        return 0;
    }
    std::memcpy(out, pNode->GetGlobalTransform()->m, 16 * sizeof(float));
    return 1;
}

static const ModelAnim* FindAnim(const zolt_model* model, uint32_t anim)
{
    return CheckHandle(model, "the model") && CheckIndex(anim, model->m_Model.NumAnims(), "animation")
               ? model->m_Model.GetAnim(anim)
               : nullptr;
}

static const AnimKeyFrame* FindKey(const zolt_model* model, uint32_t anim, uint32_t key)
{
    const ModelAnim* pAnim = FindAnim(model, anim);
    return pAnim && CheckIndex(key, pAnim->NumKeyFrames(), "key") ? &pAnim->m_KeyFrames.Get(key) : nullptr;
}

float zolt_anim_length(const zolt_model* model, uint32_t anim)
{
    const ModelAnim* pAnim = FindAnim(model, anim);
    return pAnim ? static_cast<float>(pAnim->GetAnimTime() / 1000.0) : 0.0f;
}

uint32_t zolt_anim_num_keys(const zolt_model* model, uint32_t anim)
{
    const ModelAnim* pAnim = FindAnim(model, anim);
    return pAnim ? pAnim->NumKeyFrames() : 0;
}

float zolt_anim_key_time(const zolt_model* model, uint32_t anim, uint32_t key)
{
    const AnimKeyFrame* pKey = FindKey(model, anim, key);
    return pKey ? static_cast<float>(pKey->m_Time / 1000.0) : 0.0f;
}

const char* zolt_anim_key_command(const zolt_model* model, uint32_t anim, uint32_t key)
{
    const AnimKeyFrame* pKey = FindKey(model, anim, key);
    return pKey ? pKey->m_pString : nullptr;
}

int zolt_model_bounds(const zolt_model* model, zolt_bounds* out)
{
    return CheckHandle(model, "the model") && WriteBounds(model->m_Bounds.AtRest(), out);
}

int zolt_anim_bounds(const zolt_model* model, uint32_t anim, zolt_bounds* out)
{
    return FindAnim(model, anim) && WriteBounds(model->m_Bounds.OfAnim(anim), out);
}

#include "zolt/handles.h"

#include <algorithm>
#include <cmath>
#include <new>

zolt_figure* zolt_figure_create(zolt_model* model)
{
    if (!CheckHandle(model, "the model"))
        return nullptr;
    std::unique_ptr<zolt_figure> pFigure(new (std::nothrow) zolt_figure);
    if (!pFigure || !pFigure->m_Instance.Init(model->m_Model))
    {
        SetZoltError("out of memory");
        return nullptr;
    }
    ++model->m_nUsers;
    pFigure->m_pModel = model;
    AddHandle(pFigure.get());
    return pFigure.release();
}

void zolt_figure_free(zolt_figure* figure)
{
    if (!figure || !CheckHandle(figure, "the figure"))
        return;
    RemoveHandle(figure);
    zolt_model* pModel = figure->m_pModel;
    delete figure;
    ReleaseModel(pModel);
}

static bool Check(const zolt_figure* figure)
{
    return CheckHandle(figure, "the figure");
}

static bool Check(const zolt_figure* figure, uint32_t layer)
{
    return Check(figure) && CheckIndex(layer, ZOLT_NUM_LAYERS, "layer");
}

// A failure for a number that isn't finite.
static bool CheckNumber(float number, const char* pWhat)
{
    return std::isfinite(number) || SetZoltError("%s isn't finite", pWhat);
}

// What the player refuses with everything else being right.
static int Result(bool bDone, const char* pText)
{
    return bDone || SetZoltError("%s", pText);
}

int zolt_figure_play(zolt_figure* figure, uint32_t layer, uint32_t anim, const zolt_play_options* options)
{
    zolt_play_options chosen = {};
    if (!Check(figure, layer) || !ReadStruct(options, chosen) || !CheckNumber(chosen.speed, "the speed") ||
        !CheckNumber(chosen.start, "the start") || !CheckNumber(chosen.fade, "the fade") ||
        !CheckIndex(anim, figure->m_pModel->m_Model.NumAnims(), "animation"))
        return 0;
    zolt::PlayOptions play;
    play.m_Loop = chosen.loop == ZOLT_CLAMP       ? zolt::LoopMode::CLAMP
                  : chosen.loop == ZOLT_PING_PONG ? zolt::LoopMode::PING_PONG
                                                  : zolt::LoopMode::LOOP;
    play.m_Speed = chosen.speed != 0.0f ? chosen.speed : 1.0f;
    play.m_Start = chosen.start;
    play.m_Fade = chosen.fade;
    play.m_Curve = chosen.linear_fade ? zolt::FadeCurve::LINEAR : zolt::FadeCurve::SMOOTH;
    return Result(figure->m_Player.Play(anim, play, layer), "the animation has no keys");
}

int zolt_figure_stop(zolt_figure* figure, uint32_t layer, float fade)
{
    if (!Check(figure, layer) || !CheckNumber(fade, "the fade"))
        return 0;
    figure->m_Player.Stop(layer, fade);
    return 1;
}

int zolt_figure_seek(zolt_figure* figure, uint32_t layer, float time)
{
    return Check(figure, layer) && CheckNumber(time, "the time") &&
           Result(figure->m_Player.Seek(time, layer), "nothing plays on the layer");
}

int zolt_figure_set_speed(zolt_figure* figure, uint32_t layer, float speed)
{
    return Check(figure, layer) && CheckNumber(speed, "the speed") &&
           Result(figure->m_Player.SetSpeed(speed, layer), "nothing plays on the layer");
}

float zolt_figure_time(const zolt_figure* figure, uint32_t layer)
{
    return Check(figure, layer) ? figure->m_Player.GetTime(layer) : 0.0f;
}

int32_t zolt_figure_anim(const zolt_figure* figure, uint32_t layer)
{
    return Check(figure, layer) && figure->m_Player.IsPlaying(layer)
               ? static_cast<int32_t>(figure->m_Player.GetAnim(layer))
               : -1;
}

int zolt_figure_is_finished(const zolt_figure* figure, uint32_t layer)
{
    return Check(figure, layer) && figure->m_Player.IsFinished(layer);
}

static constexpr const char* NOT_THE_BASE = "the base has no kind, mask or weight";

int zolt_figure_set_layer_kind(zolt_figure* figure, uint32_t layer, zolt_layer_kind kind)
{
    return Check(figure, layer) && Result(figure->m_Player.SetLayerKind(
                                              layer, kind == ZOLT_ADD ? zolt::LayerKind::ADD : zolt::LayerKind::BLEND),
                                          NOT_THE_BASE);
}

int zolt_figure_set_layer_mask(zolt_figure* figure, uint32_t layer, size_t count, const float* mask)
{
    if (!Check(figure, layer))
        return 0;
    if (layer == 0)
        return SetZoltError("%s", NOT_THE_BASE);
    if (count == 0)
        return figure->m_Player.SetLayerMask(layer, nullptr);
    if (!mask || count != figure->m_Instance.NumNodes())
        return SetZoltError("a mask has a value for each of %u nodes", figure->m_Instance.NumNodes());
    for (size_t i = 0; i < count; ++i)
    {
        if (!(mask[i] >= 0.0f && mask[i] <= 1.0f))
            return SetZoltError("the value of node %zu isn't between 0 and 1", i);
    }
    try
    {
        figure->m_Masks[layer].assign(mask, mask + count);
    }
    catch (const std::bad_alloc&)
    {
        return SetZoltError("out of memory");
    }
    return figure->m_Player.SetLayerMask(layer, figure->m_Masks[layer].data());
}

int zolt_figure_set_layer_weight_set(zolt_figure* figure, uint32_t layer, uint32_t weight_set)
{
    return Check(figure, layer) && CheckIndex(weight_set, figure->m_pModel->m_Model.NumWeightSets(), "weight set") &&
           Result(figure->m_Player.SetLayerWeightSet(layer, weight_set),
                  layer == 0 ? NOT_THE_BASE : "three other layers have weight sets that both add and blend");
}

int zolt_figure_set_layer_weight(zolt_figure* figure, uint32_t layer, float weight, float seconds)
{
    return Check(figure, layer) && CheckNumber(seconds, "the time") &&
           Result(figure->m_Player.SetLayerWeight(layer, weight, seconds),
                  layer == 0 ? NOT_THE_BASE : "the weight isn't between 0 and 1");
}

static void PassOn(void* pUser, const zolt::AnimEvent& event)
{
    const zolt_figure* pFigure = static_cast<const zolt_figure*>(pUser);
    const zolt_event out = {sizeof(out), event.m_pCommand, event.m_iAnim, event.m_iKey, event.m_iLayer, event.m_Weight};
    pFigure->m_pHandler(pFigure->m_pUser, &out);
}

int zolt_figure_set_event_handler(zolt_figure* figure, zolt_event_handler handler, void* user)
{
    if (!Check(figure))
        return 0;
    figure->m_pHandler = handler;
    figure->m_pUser = user;
    figure->m_Player.SetEventHandler(handler ? PassOn : nullptr, figure);
    return 1;
}

int zolt_figure_set_root_motion(zolt_figure* figure, int32_t node)
{
    if (!Check(figure))
        return 0;
    const uint32_t iNode = node < 0 ? zolt::AnimPlayer::NO_NODE : static_cast<uint32_t>(node);
    return (node < 0 || CheckIndex(iNode, figure->m_Instance.NumNodes(), "node")) &&
           Result(figure->m_Player.SetRootMotion(iNode), "the node is too deep in the tree");
}

static bool CheckOut(const void* pOut)
{
    return pOut || SetZoltError("out is null");
}

static int WriteMatrix(const Matrix4& matrix, float* pOut)
{
    std::memcpy(pOut, matrix.m, sizeof(matrix.m));
    return 1;
}

int zolt_figure_take_root_motion(zolt_figure* figure, float out[16])
{
    return Check(figure) && CheckOut(out) && WriteMatrix(figure->m_Player.TakeRootMotion().ToMatrix(), out);
}

static bool ReadMatrix(const float* pFrom, Matrix4& out)
{
    if (!std::all_of(pFrom, pFrom + 16, [](float value) { return std::isfinite(value); }))
        return SetZoltError("the matrix isn't finite");
    out.Set(pFrom);
    return true;
}

int zolt_figure_set_world(zolt_figure* figure, const float matrix[16])
{
    Matrix4 world;
    if (!Check(figure) || (!matrix && !SetZoltError("the matrix is null")) || !ReadMatrix(matrix, world))
        return 0;
    figure->m_Instance.SetWorld(world);
    return 1;
}

int zolt_figure_step(zolt_figure* figure, float seconds)
{
    return zolt_step_many(nullptr, 1, &figure, seconds);
}

int zolt_step_many(zolt_pool* pool, size_t count, zolt_figure* const* figures, float seconds)
{
    if ((pool && !CheckHandle(pool, "the pool")) || !CheckNumber(seconds, "the time"))
        return 0;
    if (seconds < 0.0f || (count != 0 && !figures) || count > UINT32_MAX)
        return SetZoltError(seconds < 0.0f ? "time doesn't run backwards: speed may" : "no such array of figures");
    for (size_t i = 0; i < count; ++i)
    {
        if (!Check(figures[i]))
            return 0;
    }
    try
    {
        std::vector<zolt::ModelInstance*> instances;
        instances.reserve(count);
        for (size_t i = 0; i < count; ++i)
        {
            zolt_figure& figure = *figures[i];
            figure.m_Player.Step(seconds);
            figure.m_Player.Apply();
            if (count == 1 || !figure.m_Instance.GetCarrier())
                instances.push_back(&figure.m_Instance);
        }
        const uint32_t n = static_cast<uint32_t>(instances.size());
        return Result(zolt::EvaluateMany(instances.data(), n, pool ? &pool->m_Threads : nullptr),
                      "a pose can't be evaluated");
    }
    catch (const std::bad_alloc&)
    {
        return SetZoltError("out of memory");
    }
}

int zolt_figure_attach(zolt_figure* figure, uint32_t socket, zolt_figure* other, const float offset[16])
{
    Matrix4 place;
    return Check(figure) && Check(other) && CheckIndex(socket, figure->m_pModel->m_Model.NumSockets(), "socket") &&
           (!offset || ReadMatrix(offset, place)) &&
           Result(figure->m_Instance.Attach(&other->m_Instance, socket, place),
                  "it is carried already, or would carry itself");
}

int zolt_figure_detach(zolt_figure* figure, zolt_figure* other)
{
    return Check(figure) && Check(other) &&
           Result(figure->m_Instance.Detach(&other->m_Instance), "it isn't carried by that figure");
}

const float* zolt_figure_matrices(const zolt_figure* figure)
{
    return Check(figure) ? figure->m_Instance.GetMatrices()->m : nullptr;
}

int zolt_figure_socket_matrix(const zolt_figure* figure, uint32_t socket, float out[16])
{
    Matrix4 matrix;
    return Check(figure) && CheckOut(out) && CheckIndex(socket, figure->m_pModel->m_Model.NumSockets(), "socket") &&
           Result(figure->m_Instance.GetSocketMatrix(socket, matrix), "the socket's node isn't there") &&
           WriteMatrix(matrix, out);
}

int zolt_figure_bounds(const zolt_figure* figure, zolt_bounds* out)
{
    return Check(figure) && WriteBounds(figure->m_pModel->m_Bounds.OfInstance(figure->m_Instance), out);
}

// Room for a position of each vertex at a LOD.
static bool CheckRoom(const zolt_figure* figure, uint32_t lod, size_t size, const void* pOut, uint32_t stride)
{
    if (!Check(figure) || !CheckOut(pOut) || !CheckIndex(lod, figure->m_pModel->m_Model.NumLODs(), "LOD"))
        return false;
    if (stride < sizeof(Vector3))
        return SetZoltError("a stride of %u bytes, and a vertex takes 12", stride);
    const uint64_t n = zolt_model_num_vertices(figure->m_pModel, lod);
    const uint64_t needed = n == 0 ? 0 : (n - 1) * stride + sizeof(Vector3);
    return size >= needed ||
           SetZoltError("%zu bytes of room, and %llu are needed", size, static_cast<unsigned long long>(needed));
}

int zolt_figure_positions(const zolt_figure* figure, uint32_t lod, size_t size, void* out, uint32_t stride)
{
    return CheckRoom(figure, lod, size, out, stride) &&
           Result(figure->m_Instance.GetVertexPositions(static_cast<Vector3*>(out), stride, lod),
                  "a piece lacks the LOD");
}

int zolt_figure_normals(const zolt_figure* figure, uint32_t lod, size_t size, void* out, uint32_t stride)
{
    return CheckRoom(figure, lod, size, out, stride) &&
           Result(figure->m_Instance.GetVertexNormals(static_cast<Vector3*>(out), stride, lod),
                  "a piece lacks the LOD");
}

int zolt_figure_skin_matrices(const zolt_figure* figure, zolt_layout layout, size_t size, float* out)
{
    if (!Check(figure) || !CheckOut(out))
        return 0;
    const zolt::MatrixLayout layouts[] = {zolt::MatrixLayout::ROWS_3X4, zolt::MatrixLayout::ROWS_4X4,
                                          zolt::MatrixLayout::COLUMNS_3X4, zolt::MatrixLayout::COLUMNS_4X4};
    if (!CheckIndex(static_cast<uint32_t>(layout), 4, "layout"))
        return 0;
    const bool bWhole = layout == ZOLT_ROWS_4X4 || layout == ZOLT_COLUMNS_4X4;
    const size_t needed = sizeof(float) * (bWhole ? 16 : 12) * figure->m_Instance.NumNodes();
    if (size < needed)
        return SetZoltError("%zu bytes of room, and %zu are needed", size, needed);
    return figure->m_Instance.GetSkinMatrices(out, layouts[layout]);
}

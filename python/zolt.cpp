// The Python module zolt, over the C interface. Arrays show the library's memory: they hold on to what owns it.

#include "zolt/zolt.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <string>
#include <vector>

namespace py = pybind11;

// What a failed call says, as an exception.
[[noreturn]] static void Throw()
{
    throw py::value_error(zolt_error());
}

static void Check(bool bDone)
{
    if (!bDone)
        Throw();
}

template <class T> static T* Check(T* pHandle)
{
    if (!pHandle)
        Throw();
    return pHandle;
}

namespace
{
struct Freer
{
    void operator()(zolt_model* p) const { zolt_model_free(p); }
    void operator()(zolt_figure* p) const { zolt_figure_free(p); }
    void operator()(zolt_mesh* p) const { zolt_mesh_free(p); }
    void operator()(zolt_pool* p) const { zolt_pool_free(p); }
};

using ModelHandle = std::shared_ptr<zolt_model>;

struct PyModel
{
    ModelHandle m_pModel;

    zolt_model* Get() const { return m_pModel.get(); }
    std::vector<std::string> Names(zolt_kind kind) const;
    // By name or index.
    uint32_t Find(zolt_kind kind, const py::object& key) const;
};

struct PyMesh
{
    std::unique_ptr<zolt_mesh, Freer> m_pMesh;
    zolt_mesh_info m_Info = ZOLT_INIT(zolt_mesh_info);
};

struct PyPool
{
    std::unique_ptr<zolt_pool, Freer> m_pPool;
};

struct PyFigure
{
    PyModel m_Model;
    std::unique_ptr<zolt_figure, Freer> m_pFigure;
    std::vector<py::object> m_Carried; // kept alive as long as they may be carried
    py::function m_Handler;

    zolt_figure* Get() const { return m_pFigure.get(); }
};
} // namespace

std::vector<std::string> PyModel::Names(zolt_kind kind) const
{
    std::vector<std::string> names;
    for (uint32_t i = 0; i < zolt_model_count(Get(), kind); ++i)
        names.emplace_back(zolt_model_name(Get(), kind, i));
    return names;
}

uint32_t PyModel::Find(zolt_kind kind, const py::object& key) const
{
    if (!py::isinstance<py::str>(key))
        return key.cast<uint32_t>();
    const int32_t index = zolt_model_find(Get(), kind, key.cast<std::string>().c_str());
    Check(index >= 0);
    return static_cast<uint32_t>(index);
}

// An array over memory that `owner` holds. It can't be written to.
static py::array View(const py::dtype& type, std::vector<py::ssize_t> shape, const void* pData, const py::object& owner,
                      std::vector<py::ssize_t> strides = {})
{
    py::array array(type, std::move(shape), std::move(strides), pData, owner);
    array.attr("setflags")(py::arg("write") = false);
    return array;
}

using Matrix = py::array_t<float, py::array::c_style | py::array::forcecast>;

static const float* MatrixData(const Matrix& matrix)
{
    if (matrix.ndim() != 2 || matrix.shape(0) != 4 || matrix.shape(1) != 4)
        throw py::value_error("a matrix has 4 rows and 4 columns");
    return matrix.data();
}

static Matrix NewMatrix()
{
    return Matrix({4, 4});
}

static py::tuple ToBox(const zolt_bounds& bounds)
{
    const auto ToTuple = [](const float* p) { return py::make_tuple(p[0], p[1], p[2]); };
    return py::make_tuple(ToTuple(bounds.min), ToTuple(bounds.max), bounds.radius);
}

static py::tuple GetBounds(const PyModel& model, const py::object& anim)
{
    zolt_bounds bounds = ZOLT_INIT(zolt_bounds);
    Check(anim.is_none() ? zolt_model_bounds(model.Get(), &bounds)
                         : zolt_anim_bounds(model.Get(), model.Find(ZOLT_ANIM, anim), &bounds));
    return ToBox(bounds);
}

static py::list GetKeys(const PyModel& model, const py::object& anim)
{
    const uint32_t iAnim = model.Find(ZOLT_ANIM, anim);
    Check(iAnim < zolt_model_count(model.Get(), ZOLT_ANIM) || zolt_anim_key_command(model.Get(), iAnim, 0));
    py::list keys;
    for (uint32_t i = 0; i < zolt_anim_num_keys(model.Get(), iAnim); ++i)
        keys.append(
            py::make_tuple(zolt_anim_key_time(model.Get(), iAnim, i), zolt_anim_key_command(model.Get(), iAnim, i)));
    return keys;
}

static std::unique_ptr<PyMesh> BuildMesh(const PyModel& model, const py::object& piece, uint32_t lod, uint32_t shares,
                                         bool bBytes)
{
    auto pMesh = std::make_unique<PyMesh>();
    zolt_mesh_options options = ZOLT_INIT(zolt_mesh_options);
    options.num_shares = shares;
    options.byte_shares = bBytes;
    pMesh->m_pMesh.reset(Check(zolt_mesh_build(model.Get(), model.Find(ZOLT_PIECE, piece), lod, &options)));
    Check(zolt_mesh_get(pMesh->m_pMesh.get(), &pMesh->m_Info));
    return pMesh;
}

// Records with the fields position, normal, texture, nodes and shares.
static py::array MeshVertices(const py::object& self)
{
    const zolt_mesh_info& info = self.cast<PyMesh&>().m_Info;
    const auto Field = [](const char* pType, uint32_t n) { return py::make_tuple(pType, py::make_tuple(n)); };
    py::dict fields;
    fields["names"] = py::make_tuple("position", "normal", "texture", "nodes", "shares");
    fields["formats"] = py::make_tuple(Field("<f4", 3), Field("<f4", 3), Field("<f4", 2), Field("<u2", info.num_shares),
                                       Field(info.byte_shares ? "u1" : "<f4", info.num_shares));
    fields["offsets"] =
        py::make_tuple(0, info.normal_offset, info.texture_offset, info.nodes_offset, info.shares_offset);
    fields["itemsize"] = info.stride;
    return View(py::dtype::from_args(fields), {info.num_vertices}, info.vertices, self);
}

static std::unique_ptr<PyFigure> NewFigure(const PyModel& model)
{
    auto pFigure = std::make_unique<PyFigure>();
    pFigure->m_Model = model;
    pFigure->m_pFigure.reset(Check(zolt_figure_create(model.Get())));
    return pFigure;
}

static void Play(PyFigure& figure, const py::object& anim, uint32_t layer, const std::string& loop, float speed,
                 float start, float fade, bool bLinear)
{
    zolt_play_options options = ZOLT_INIT(zolt_play_options);
    if (loop != "repeat" && loop != "clamp" && loop != "ping-pong")
        throw py::value_error("loop is \"repeat\", \"clamp\" or \"ping-pong\"");
    options.loop = loop == "repeat" ? ZOLT_REPEAT : loop == "clamp" ? ZOLT_CLAMP : ZOLT_PING_PONG;
    options.speed = speed;
    options.start = start;
    options.fade = fade;
    options.linear_fade = bLinear;
    Check(zolt_figure_play(figure.Get(), layer, figure.m_Model.Find(ZOLT_ANIM, anim), &options));
    if (speed == 0.0f)
        Check(zolt_figure_set_speed(figure.Get(), layer, 0.0f));
}

static void SetLayer(PyFigure& figure, uint32_t layer, const py::object& kind, const py::object& mask,
                     const py::object& weightSet, const py::object& weight, float seconds)
{
    if (!kind.is_none())
    {
        const std::string name = kind.cast<std::string>();
        if (name != "blend" && name != "add")
            throw py::value_error("kind is \"blend\" or \"add\"");
        Check(zolt_figure_set_layer_kind(figure.Get(), layer, name == "add" ? ZOLT_ADD : ZOLT_BLEND));
    }
    if (!mask.is_none())
    {
        const auto values = mask.cast<py::array_t<float, py::array::c_style | py::array::forcecast>>();
        Check(zolt_figure_set_layer_mask(figure.Get(), layer, static_cast<size_t>(values.size()), values.data()));
    }
    if (!weightSet.is_none())
        Check(zolt_figure_set_layer_weight_set(figure.Get(), layer, figure.m_Model.Find(ZOLT_WEIGHT_SET, weightSet)));
    if (!weight.is_none())
        Check(zolt_figure_set_layer_weight(figure.Get(), layer, weight.cast<float>(), seconds));
}

// An exception of the handler is reported by the interpreter; the step goes on.
static void PassEvent(void* pUser, const zolt_event* pEvent)
{
    try
    {
        static_cast<PyFigure*>(pUser)->m_Handler(pEvent->command, pEvent->anim, pEvent->key, pEvent->layer,
                                                 pEvent->weight);
    }
    catch (py::error_already_set& error)
    {
        error.discard_as_unraisable("an event handler of zolt");
    }
}

static void SetHandler(PyFigure& figure, const py::object& handler)
{
    figure.m_Handler = handler.is_none() ? py::function() : handler.cast<py::function>();
    Check(zolt_figure_set_event_handler(figure.Get(), handler.is_none() ? nullptr : PassEvent, &figure));
}

static void StepMany(const std::vector<PyFigure*>& figures, float seconds, PyPool* pPool)
{
    std::vector<zolt_figure*> handles;
    handles.reserve(figures.size());
    for (PyFigure* pFigure : figures)
        handles.push_back(pFigure ? pFigure->Get() : nullptr);
    Check(zolt_step_many(pPool ? pPool->m_pPool.get() : nullptr, handles.size(), handles.data(), seconds));
}

static void Attach(PyFigure& figure, const py::object& socket, const py::object& other, const py::object& offset)
{
    const uint32_t iSocket = figure.m_Model.Find(ZOLT_SOCKET, socket);
    Matrix place;
    if (!offset.is_none())
        place = offset.cast<Matrix>();
    Check(zolt_figure_attach(figure.Get(), iSocket, other.cast<PyFigure&>().Get(),
                             offset.is_none() ? nullptr : MatrixData(place)));
    figure.m_Carried.push_back(other);
}

// Positions or normals of all vertices at a LOD, into `out` where one is given: an array of n × 3 floats whose rows may
// lie apart.
template <int (*GET)(const zolt_figure*, uint32_t, size_t, void*, uint32_t)>
static py::array GetVectors(const PyFigure& figure, uint32_t lod, const py::object& out)
{
    const py::ssize_t n = zolt_model_num_vertices(figure.m_Model.Get(), lod);
    py::array_t<float> array;
    if (out.is_none())
        array = py::array_t<float>({n, py::ssize_t{3}});
    else if (!py::isinstance<py::array_t<float>>(out))
        throw py::value_error("out is no array of 32-bit floats");
    else
        array = out.cast<py::array_t<float>>(); // the same one
    if (array.ndim() != 2 || array.shape(0) != n || array.shape(1) != 3 || array.strides(1) != sizeof(float) ||
        (n > 1 && array.strides(0) < 12))
        throw py::value_error("out has a row of three floats, one behind the other, for each vertex");
    const size_t stride = n > 1 ? static_cast<size_t>(array.strides(0)) : 12;
    const size_t size = n == 0 ? 0 : (static_cast<size_t>(n) - 1) * stride + 12;
    Check(GET(figure.Get(), lod, size, array.mutable_data(), static_cast<uint32_t>(stride)));
    return array;
}

static py::array SkinMatrices(const PyFigure& figure, bool bColumns)
{
    const py::ssize_t n = zolt_model_count(figure.m_Model.Get(), ZOLT_NODE);
    py::array_t<float> out({n, py::ssize_t{4}, py::ssize_t{4}});
    Check(zolt_figure_skin_matrices(figure.Get(), bColumns ? ZOLT_COLUMNS_4X4 : ZOLT_ROWS_4X4,
                                    static_cast<size_t>(out.nbytes()), out.mutable_data()));
    return out;
}

PYBIND11_MODULE(zolt, module)
{
    using namespace py::literals;
    module.doc() =
        "Models, and figures that play their animations. Times are seconds, matrices 4 x 4 arrays for column "
        "vectors. What fails raises ValueError.";

    py::class_<PyMesh>(module, "Mesh", "A piece as buffers for a graphics card.")
        .def_property_readonly("vertices", &MeshVertices, "Records: position, normal, texture, nodes, shares.")
        .def_property_readonly(
            "indices",
            [](const py::object& self)
            {
                const zolt_mesh_info& info = self.cast<PyMesh&>().m_Info;
                return View(py::dtype(info.index_size == 2 ? "<u2" : "<u4"), {info.num_indices / 3, 3}, info.indices,
                            self);
            },
            "A row for each triangle.")
        .def_property_readonly(
            "source_vertices",
            [](const py::object& self)
            {
                const zolt_mesh_info& info = self.cast<PyMesh&>().m_Info;
                return View(py::dtype("<u4"), {info.num_vertices}, info.source_vertices, self);
            },
            "The vertex of the piece behind each record.")
        .def_property_readonly("num_cut_shares", [](const PyMesh& mesh) { return mesh.m_Info.num_cut_shares; });

    py::class_<PyModel>(module, "Model")
        .def_property_readonly("nodes", [](const PyModel& model) { return model.Names(ZOLT_NODE); })
        .def_property_readonly("pieces", [](const PyModel& model) { return model.Names(ZOLT_PIECE); })
        .def_property_readonly("anims", [](const PyModel& model) { return model.Names(ZOLT_ANIM); })
        .def_property_readonly("sockets", [](const PyModel& model) { return model.Names(ZOLT_SOCKET); })
        .def_property_readonly("weight_sets", [](const PyModel& model) { return model.Names(ZOLT_WEIGHT_SET); })
        .def_property_readonly("num_lods", [](const PyModel& model) { return zolt_model_count(model.Get(), ZOLT_LOD); })
        .def_property_readonly("parents",
                               [](const PyModel& model)
                               {
                                   std::vector<int32_t> parents;
                                   for (uint32_t i = 0; i < zolt_model_count(model.Get(), ZOLT_NODE); ++i)
                                       parents.push_back(zolt_node_parent(model.Get(), i));
                                   return parents;
                               })
        .def_property_readonly("command_string",
                               [](const PyModel& model) { return zolt_model_command_string(model.Get()); })
        .def(
            "bind_matrix",
            [](const PyModel& model, const py::object& node)
            {
                Matrix out = NewMatrix();
                Check(zolt_node_bind_matrix(model.Get(), model.Find(ZOLT_NODE, node), out.mutable_data()));
                return out;
            },
            "node"_a)
        .def(
            "length",
            [](const PyModel& model, const py::object& anim)
            {
                const uint32_t iAnim = model.Find(ZOLT_ANIM, anim);
                Check(zolt_model_name(model.Get(), ZOLT_ANIM, iAnim) != nullptr);
                return zolt_anim_length(model.Get(), iAnim);
            },
            "anim"_a)
        .def("keys", &GetKeys, "anim"_a, "A time and a command string for each key.")
        .def("bounds", &GetBounds, "anim"_a = py::none(), "Corners and radius, at rest or of an animation.")
        .def("mesh", &BuildMesh, "piece"_a = 0, "lod"_a = 0, "shares"_a = 4, "byte_shares"_a = false)
        .def("figure", &NewFigure);

    py::class_<PyPool>(module, "Pool", "Threads for step_many.")
        .def(py::init(
                 [](uint32_t threads)
                 {
                     auto pPool = std::make_unique<PyPool>();
                     pPool->m_pPool.reset(Check(zolt_pool_create(threads)));
                     return pPool;
                 }),
             "threads"_a = 0);

    py::class_<PyFigure>(module, "Figure", "A pose over a model, and what plays on it.")
        .def_property_readonly("model", [](const PyFigure& figure) { return figure.m_Model; })
        .def("play", &Play, "anim"_a, "layer"_a = 0, "loop"_a = "repeat", "speed"_a = 1.0f, "start"_a = 0.0f,
             "fade"_a = 0.0f, "linear"_a = false)
        .def(
            "stop",
            [](PyFigure& figure, uint32_t layer, float fade) { Check(zolt_figure_stop(figure.Get(), layer, fade)); },
            "layer"_a = 0, "fade"_a = 0.0f)
        .def(
            "seek",
            [](PyFigure& figure, float time, uint32_t layer) { Check(zolt_figure_seek(figure.Get(), layer, time)); },
            "time"_a, "layer"_a = 0)
        .def(
            "set_speed",
            [](PyFigure& figure, float speed, uint32_t layer)
            { Check(zolt_figure_set_speed(figure.Get(), layer, speed)); },
            "speed"_a, "layer"_a = 0)
        .def("set_layer", &SetLayer, "layer"_a, "kind"_a = py::none(), "mask"_a = py::none(),
             "weight_set"_a = py::none(), "weight"_a = py::none(), "seconds"_a = 0.0f)
        .def("set_event_handler", &SetHandler, "handler"_a, "Called with command, anim, key, layer, weight.")
        .def(
            "time", [](const PyFigure& figure, uint32_t layer) { return zolt_figure_time(figure.Get(), layer); },
            "layer"_a = 0)
        .def(
            "is_finished",
            [](const PyFigure& figure, uint32_t layer) { return zolt_figure_is_finished(figure.Get(), layer) != 0; },
            "layer"_a = 0)
        .def(
            "set_root_motion",
            [](PyFigure& figure, const py::object& node)
            {
                const int32_t iNode = node.is_none() ? -1 : static_cast<int32_t>(figure.m_Model.Find(ZOLT_NODE, node));
                Check(zolt_figure_set_root_motion(figure.Get(), iNode));
            },
            "node"_a)
        .def("take_root_motion",
             [](PyFigure& figure)
             {
                 Matrix out = NewMatrix();
                 Check(zolt_figure_take_root_motion(figure.Get(), out.mutable_data()));
                 return out;
             })
        .def(
            "set_world",
            [](PyFigure& figure, const Matrix& matrix)
            { Check(zolt_figure_set_world(figure.Get(), MatrixData(matrix))); },
            "matrix"_a)
        .def(
            "step", [](PyFigure& figure, float seconds) { Check(zolt_figure_step(figure.Get(), seconds)); },
            "seconds"_a = 0.0f)
        .def("attach", &Attach, "socket"_a, "other"_a, "offset"_a = py::none())
        .def(
            "detach",
            [](PyFigure& figure, const py::object& other)
            {
                Check(zolt_figure_detach(figure.Get(), other.cast<PyFigure&>().Get()));
                std::erase_if(figure.m_Carried, [&](const py::object& carried) { return carried.is(other); });
            },
            "other"_a)
        .def_property_readonly(
            "matrices",
            [](const py::object& self)
            {
                const PyFigure& figure = self.cast<PyFigure&>();
                const py::ssize_t n = zolt_model_count(figure.m_Model.Get(), ZOLT_NODE);
                return View(py::dtype::of<float>(), {n, 4, 4}, Check(zolt_figure_matrices(figure.Get())), self);
            },
            "The figure's own matrices, node space to world space: they change with each step.")
        .def(
            "socket_matrix",
            [](const PyFigure& figure, const py::object& socket)
            {
                Matrix out = NewMatrix();
                Check(zolt_figure_socket_matrix(figure.Get(), figure.m_Model.Find(ZOLT_SOCKET, socket),
                                                out.mutable_data()));
                return out;
            },
            "socket"_a)
        .def("bounds",
             [](const PyFigure& figure)
             {
                 zolt_bounds bounds = ZOLT_INIT(zolt_bounds);
                 Check(zolt_figure_bounds(figure.Get(), &bounds));
                 return ToBox(bounds);
             })
        .def("positions", &GetVectors<zolt_figure_positions>, "lod"_a = 0, "out"_a = py::none())
        .def("normals", &GetVectors<zolt_figure_normals>, "lod"_a = 0, "out"_a = py::none())
        .def("skin_matrices", &SkinMatrices, "columns"_a = false);

    module.def(
        "load",
        [](const std::string& path)
        { return PyModel{ModelHandle(Check(zolt_model_load_file(path.c_str())), Freer())}; },
        "path"_a);
    module.def(
        "load_bytes",
        [](const py::buffer& bytes)
        {
            const py::buffer_info info = bytes.request();
            if (info.ndim != 1 || info.strides[0] != info.itemsize)
                throw py::value_error("the bytes don't lie one behind the other");
            return PyModel{ModelHandle(
                Check(zolt_model_load_memory(static_cast<size_t>(info.size * info.itemsize), info.ptr)), Freer())};
        },
        "bytes"_a);
    module.def("step_many", &StepMany, "figures"_a, "seconds"_a = 0.0f, "pool"_a = py::none());
}

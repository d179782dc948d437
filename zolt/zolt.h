/* Models and figures that play their animations, for C and for bindings of other languages.
 *
 * A call that fails gives 0, a null pointer or -1, and changes nothing; zolt_error says why, in English. Nothing throws
 * or crashes for a null handle, an index out of range or a number that isn't finite: that is a failure. A handle that
 * was freed is one as well in a build without NDEBUG; otherwise using it is undefined.
 *
 * Structures begin with their size: set it to sizeof the structure, and a program that was built against an earlier
 * version goes on working with a later library. ZOLT_INIT does that and leaves the rest at its defaults, which are 0.
 *
 * Lengths are in model units, times in seconds, angles in radians. A matrix is 16 floats, row by row, for column
 * vectors: the translation stands in the fourth, eighth and twelfth float.
 *
 * A model may be used by any number of threads at once; a figure by one, and so may a mesh or a pool. Texts that are
 * handed out live as long as their model.
 */
#ifndef ZOLT_ZOLT_H
#define ZOLT_ZOLT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define ZOLT_API extern "C"
template <class T> T zolt_init()
{
    T out = {};
    out.size = sizeof(T);
    return out;
}
#define ZOLT_INIT(type) zolt_init<type>()
#else
#define ZOLT_API
/* clang-format off */
#define ZOLT_INIT(type) {.size = sizeof(type)}
/* clang-format on */
#endif

#define ZOLT_VERSION 1

typedef struct zolt_model zolt_model;
typedef struct zolt_figure zolt_figure;
typedef struct zolt_mesh zolt_mesh;
typedef struct zolt_pool zolt_pool;

/* The ZOLT_VERSION of the library. */
ZOLT_API uint32_t zolt_version(void);
/* What the last call that failed on this thread failed for; "" if none did. Lives until the next failure. */
ZOLT_API const char* zolt_error(void);

/* Models. */

/* Child models are looked up in the file's folder. One that is missing is no failure: its animations are missing. */
ZOLT_API zolt_model* zolt_model_load_file(const char* path);
/* The bytes of a file, which aren't needed any longer after the call. Child models count as missing. */
ZOLT_API zolt_model* zolt_model_load_memory(size_t size, const void* data);
/* Figures that were made from it keep it alive. Null is allowed. */
ZOLT_API void zolt_model_free(zolt_model* model);

typedef enum zolt_kind
{
    ZOLT_NODE,
    ZOLT_PIECE,
    ZOLT_ANIM, /* those of child models behind the own ones */
    ZOLT_SOCKET,
    ZOLT_WEIGHT_SET,
    ZOLT_LOD /* has no names */
} zolt_kind;

ZOLT_API uint32_t zolt_model_count(const zolt_model* model, zolt_kind kind);
ZOLT_API const char* zolt_model_name(const zolt_model* model, zolt_kind kind, uint32_t index);
/* The first of that name, without regard to the case of ASCII letters, or -1. */
ZOLT_API int32_t zolt_model_find(const zolt_model* model, zolt_kind kind, const char* name);
/* Of all pieces at a LOD. */
ZOLT_API uint32_t zolt_model_num_vertices(const zolt_model* model, uint32_t lod);
ZOLT_API const char* zolt_model_command_string(const zolt_model* model);
/* The parent's index, or -1 for the root (which is no failure). */
ZOLT_API int32_t zolt_node_parent(const zolt_model* model, uint32_t node);
/* The bind pose: node space to model space. */
ZOLT_API int zolt_node_bind_matrix(const zolt_model* model, uint32_t node, float out[16]);
ZOLT_API float zolt_anim_length(const zolt_model* model, uint32_t anim);
ZOLT_API uint32_t zolt_anim_num_keys(const zolt_model* model, uint32_t anim);
ZOLT_API float zolt_anim_key_time(const zolt_model* model, uint32_t anim, uint32_t key);
ZOLT_API const char* zolt_anim_key_command(const zolt_model* model, uint32_t anim, uint32_t key);

/* A box along the axes; all 0 if nothing is in it. */
typedef struct zolt_bounds
{
    size_t size;
    float min[3];
    float max[3];
    float radius; /* the greatest distance from 0, 0, 0 */
} zolt_bounds;

/* Of the bind pose, and of whatever moment of an animation, in model space. */
ZOLT_API int zolt_model_bounds(const zolt_model* model, zolt_bounds* out);
ZOLT_API int zolt_anim_bounds(const zolt_model* model, uint32_t anim, zolt_bounds* out);

/* Figures: a pose over a model that they share, and what plays on it. Layer 0 is the base, 1 to 4 are laid on it.
 * --- */

#define ZOLT_NUM_LAYERS 5

typedef enum zolt_loop
{
    ZOLT_REPEAT,
    ZOLT_CLAMP,
    ZOLT_PING_PONG
} zolt_loop;

typedef enum zolt_layer_kind
{
    ZOLT_BLEND, /* takes the place of what is below */
    ZOLT_ADD    /* adds its motion since its first key */
} zolt_layer_kind;

typedef struct zolt_play_options
{
    size_t size;
    zolt_loop loop;
    float speed;     /* times the natural one, which 0 stands for; negative is backwards */
    float start;     /* seconds into the animation */
    float fade;      /* seconds in which it takes the place of what plays */
    int linear_fade; /* 0: begins and ends smoothly */
} zolt_play_options;

typedef struct zolt_event
{
    size_t size;
    const char* command; /* the command string of a key that time has passed over */
    uint32_t anim;
    uint32_t key;
    uint32_t layer;
    float weight; /* the share of its animation in the layer */
} zolt_event;

typedef void (*zolt_event_handler)(void* user, const zolt_event* event);

ZOLT_API zolt_figure* zolt_figure_create(zolt_model* model);
/* Null is allowed. */
ZOLT_API void zolt_figure_free(zolt_figure* figure);

/* Null options are the defaults. */
ZOLT_API int zolt_figure_play(zolt_figure* figure, uint32_t layer, uint32_t anim, const zolt_play_options* options);
ZOLT_API int zolt_figure_stop(zolt_figure* figure, uint32_t layer, float fade);
ZOLT_API int zolt_figure_seek(zolt_figure* figure, uint32_t layer, float time);
ZOLT_API int zolt_figure_set_speed(zolt_figure* figure, uint32_t layer, float speed);
/* Of what was last played on a layer; 0, or -1, if nothing was. */
ZOLT_API float zolt_figure_time(const zolt_figure* figure, uint32_t layer);
ZOLT_API int32_t zolt_figure_anim(const zolt_figure* figure, uint32_t layer);
ZOLT_API int zolt_figure_is_finished(const zolt_figure* figure, uint32_t layer);

ZOLT_API int zolt_figure_set_layer_kind(zolt_figure* figure, uint32_t layer, zolt_layer_kind kind);
/* A value from 0 to 1 for each node, of which a copy is kept; `count` is the number of nodes, or 0 for no mask. */
ZOLT_API int zolt_figure_set_layer_mask(zolt_figure* figure, uint32_t layer, size_t count, const float* mask);
ZOLT_API int zolt_figure_set_layer_weight_set(zolt_figure* figure, uint32_t layer, uint32_t weight_set);
ZOLT_API int zolt_figure_set_layer_weight(zolt_figure* figure, uint32_t layer, float weight, float seconds);

/* Called by zolt_figure_step; null for none. */
ZOLT_API int zolt_figure_set_event_handler(zolt_figure* figure, zolt_event_handler handler, void* user);
/* The node whose motion over the ground is taken out of the pose; -1 for none. */
ZOLT_API int zolt_figure_set_root_motion(zolt_figure* figure, int32_t node);
/* The way since the last call, as a matrix: world = world * out. */
ZOLT_API int zolt_figure_take_root_motion(zolt_figure* figure, float out[16]);

/* Model space to world space. */
ZOLT_API int zolt_figure_set_world(zolt_figure* figure, const float matrix[16]);
/* Passes time and makes the matrices of all nodes. 0 seconds only makes them. */
ZOLT_API int zolt_figure_step(zolt_figure* figure, float seconds);
/* The same for many figures, each only once, the matrices on the threads of a pool; null for the pool does it on
 * this thread. Event handlers are called on this thread. A figure that is carried is made along with its carrier.
 */
ZOLT_API int zolt_step_many(zolt_pool* pool, size_t count, zolt_figure* const* figures, float seconds);

/* Carries another figure at a socket: its world is the socket's place times the offset, which is the identity for
 * null. Time passes for it by a step of its own, before that of its carrier, which puts it in its place. */
ZOLT_API int zolt_figure_attach(zolt_figure* figure, uint32_t socket, zolt_figure* other, const float offset[16]);
ZOLT_API int zolt_figure_detach(zolt_figure* figure, zolt_figure* other);

/* The matrices of all nodes, node space to world space, in memory of the figure's: the numbers of the last step. */
ZOLT_API const float* zolt_figure_matrices(const zolt_figure* figure);
ZOLT_API int zolt_figure_socket_matrix(const zolt_figure* figure, uint32_t socket, float out[16]);
ZOLT_API int zolt_figure_bounds(const zolt_figure* figure, zolt_bounds* out);
/* World positions, and normals, of all vertices at a LOD, piece by piece, `stride` bytes apart (12 or more). `size`
 * is that of `out` in bytes; one that is too small is a failure. */
ZOLT_API int zolt_figure_positions(const zolt_figure* figure, uint32_t lod, size_t size, void* out, uint32_t stride);
ZOLT_API int zolt_figure_normals(const zolt_figure* figure, uint32_t lod, size_t size, void* out, uint32_t stride);

typedef enum zolt_layout
{
    ZOLT_ROWS_3X4,
    ZOLT_ROWS_4X4,
    ZOLT_COLUMNS_3X4,
    ZOLT_COLUMNS_4X4
} zolt_layout;

/* One matrix a node, bind pose to world: what a vertex shader takes. `size` in bytes, as above. */
ZOLT_API int zolt_figure_skin_matrices(const zolt_figure* figure, zolt_layout layout, size_t size, float* out);

/* Threads. */

/* 0 stands for the number of processors. */
ZOLT_API zolt_pool* zolt_pool_create(uint32_t threads);
ZOLT_API void zolt_pool_free(zolt_pool* pool);

/* Buffers for a graphics card. */

/* Puts whole triangles into another order, in place: three indices each. */
typedef void (*zolt_triangle_order)(uint32_t* indices, size_t num_indices, size_t num_vertices);

typedef struct zolt_mesh_options
{
    size_t size;
    uint32_t num_shares;       /* nodes a vertex: 4, which 0 stands for, or 8 */
    int byte_shares;           /* 0: floats that sum to 1, else bytes that sum to 255 */
    zolt_triangle_order order; /* for the vertex cache; null leaves the triangles as the piece has them */
} zolt_mesh_options;

/* Records of `stride` bytes: position, normal (3 floats each), texture coordinates (2 floats), num_shares node
 * indices of 16 bits, num_shares shares. */
typedef struct zolt_mesh_info
{
    size_t size;
    const void* vertices;
    const void* indices;             /* three a triangle */
    const uint32_t* source_vertices; /* for each record the vertex of the piece that it comes from */
    uint32_t num_vertices;
    uint32_t stride;
    uint32_t num_indices;
    uint32_t index_size; /* bytes: 2 or 4 */
    uint32_t num_shares;
    uint32_t normal_offset;
    uint32_t texture_offset;
    uint32_t nodes_offset;
    uint32_t shares_offset;
    int byte_shares;
    uint32_t num_cut_shares; /* those beyond num_shares, which were left out; the rest makes up for them */
} zolt_mesh_info;

/* Null options are the defaults. The mesh doesn't need the model any longer. */
ZOLT_API zolt_mesh* zolt_mesh_build(const zolt_model* model, uint32_t piece, uint32_t lod,
                                    const zolt_mesh_options* options);
ZOLT_API void zolt_mesh_free(zolt_mesh* mesh);
/* The buffers live as long as the mesh. */
ZOLT_API int zolt_mesh_get(const zolt_mesh* mesh, zolt_mesh_info* out);

#endif

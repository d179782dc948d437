/* The C interface, from C. The argument is the model of tests/install; what it does is told there. */

#include "zolt/zolt.h"

#include <math.h>
#include <stdio.h>
#include <string.h>

static int g_nFailures = 0;

#define CHECK(condition)                                                                                               \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(condition))                                                                                              \
        {                                                                                                              \
            printf("%s:%d: %s (%s)\n", __FILE__, __LINE__, #condition, zolt_error());                                  \
            ++g_nFailures;                                                                                             \
        }                                                                                                              \
    } while (0)

static int IsAt(const float* matrix, float x, float y, float z)
{
    return fabsf(matrix[3] - x) < 1e-3f && fabsf(matrix[7] - y) < 1e-3f && fabsf(matrix[11] - z) < 1e-3f;
}

static void CountEvent(void* user, const zolt_event* event)
{
    *(uint32_t*)user += event->key + 1;
}

static int PrintGrip(const char* path)
{
    zolt_model* model = zolt_model_load_file(path);
    zolt_figure* figure = zolt_figure_create(model);
    float grip[16];
    int done = zolt_figure_play(figure, 0, zolt_model_find(model, ZOLT_ANIM, "wave"), NULL) &&
               zolt_figure_step(figure, 0.1f) && zolt_figure_socket_matrix(figure, 0, grip);
    if (done)
        printf("%.3f %.3f %.3f\n", grip[3], grip[7], grip[11]);
    else
        printf("%s\n", zolt_error());
    zolt_figure_free(figure);
    zolt_model_free(model);
    return done;
}

static void CheckPlay(zolt_model* model)
{
    zolt_figure* figures[2];
    float grip[16], positions[9], skin[48];
    zolt_play_options options = ZOLT_INIT(zolt_play_options);
    zolt_bounds bounds = ZOLT_INIT(zolt_bounds);
    zolt_pool* pool = zolt_pool_create(2);
    uint32_t events = 0;
    int i;
    options.loop = ZOLT_CLAMP;
    for (i = 0; i < 2; ++i)
    {
        figures[i] = zolt_figure_create(model);
        CHECK(zolt_figure_play(figures[i], 0, 0, &options));
    }
    CHECK(zolt_figure_set_event_handler(figures[0], CountEvent, &events));
    CHECK(zolt_step_many(pool, 2, figures, 0.1f));
    /* The hips at 1, the arm 10 above them and turned by 45 degrees, the hand 5 along it, the socket 1 further. */
    CHECK(zolt_figure_socket_matrix(figures[1], 0, grip) && IsAt(grip, 1 + 6 * sqrtf(0.5f), 10 + 6 * sqrtf(0.5f), 0));
    CHECK(zolt_figure_positions(figures[1], 0, sizeof(positions), positions, 12));
    /* A corner that is at the socket in the bind pose. */
    CHECK(fabsf(positions[0] - grip[3]) < 1e-3f && fabsf(positions[1] - grip[7]) < 1e-3f);
    CHECK(zolt_figure_skin_matrices(figures[1], ZOLT_ROWS_4X4, sizeof(skin), skin) && skin[15] == 1);
    CHECK(zolt_figure_bounds(figures[1], &bounds) && bounds.max[0] >= positions[0] && bounds.radius > 10);
    CHECK(zolt_figure_step(figures[0], 0.5f) && zolt_figure_is_finished(figures[0], 0));
    CHECK(zolt_figure_time(figures[0], 0) == 0.2f && events == 0);
    CHECK(zolt_figure_anim(figures[0], 0) == 0 && zolt_figure_anim(figures[0], 1) == -1);
    zolt_model_free(model); /* The figures keep it. */
    CHECK(zolt_figure_attach(figures[0], 0, figures[1], NULL) && zolt_figure_step(figures[0], 0));
    CHECK(IsAt(zolt_figure_matrices(figures[0]) + 32, 2, 15, 0));
    CHECK(!zolt_figure_attach(figures[1], 0, figures[0], NULL) && strstr(zolt_error(), "carry itself"));
    zolt_figure_free(figures[0]);
    CHECK(zolt_figure_step(figures[1], 0));
#ifndef NDEBUG
    CHECK(!zolt_figure_step(figures[0], 0) && strcmp(zolt_error(), "the figure is freed") == 0);
    CHECK(zolt_model_count(model, ZOLT_NODE) == 0);
#endif
    zolt_figure_free(figures[1]);
    zolt_pool_free(pool);
}

static void CheckRefusals(zolt_model* model)
{
    zolt_figure* figure = zolt_figure_create(model);
    zolt_bounds bounds = ZOLT_INIT(zolt_bounds);
    zolt_mesh_options options = {sizeof(size_t), 7, 0, NULL}; /* of a version that had no options yet */
    zolt_mesh_info info = ZOLT_INIT(zolt_mesh_info);
    zolt_mesh* mesh;
    float out[16], bad[3] = {0, NAN, 0};
    CHECK(!zolt_model_load_file(NULL) && !zolt_model_load_file("nowhere.abc"));
    CHECK(strstr(zolt_error(), "nowhere.abc can't be opened"));
    CHECK(!zolt_model_load_memory(4, "abc") && strstr(zolt_error(), "there is no section \"Header\""));
    CHECK(!zolt_figure_create(NULL) && strcmp(zolt_error(), "the model is null") == 0);
    CHECK(!zolt_model_name(model, ZOLT_NODE, 3) && strcmp(zolt_error(), "element 3 of 3") == 0);
    CHECK(zolt_model_find(model, ZOLT_SOCKET, "GRIP") == 0 && zolt_model_find(model, ZOLT_ANIM, "jump") == -1);
    CHECK(zolt_node_parent(model, 2) == 1 && zolt_node_parent(model, 0) == -1 && zolt_anim_length(model, 2) == 0.8f);
    CHECK(!zolt_figure_play(figure, 5, 0, NULL) && !zolt_figure_play(figure, 0, 3, NULL));
    CHECK(!zolt_figure_seek(figure, 0, 0) && !zolt_figure_step(figure, NAN) && !zolt_figure_set_world(figure, NULL));
    CHECK(!zolt_figure_set_layer_mask(figure, 1, 3, bad) && !zolt_figure_set_layer_mask(figure, 1, 2, bad));
    CHECK(!zolt_figure_positions(figure, 0, 35, out, 12) &&
          strcmp(zolt_error(), "35 bytes of room, and 36 are needed") == 0);
    CHECK(!zolt_figure_positions(figure, 1, 64, out, 12) && !zolt_figure_socket_matrix(figure, 1, out));
    bounds.size = 3;
    CHECK(!zolt_model_bounds(model, &bounds));
    bounds.size = offsetof(zolt_bounds, radius); /* an older version's */
    bounds.radius = -1;
    CHECK(zolt_anim_bounds(model, 0, &bounds) && bounds.radius == -1 && bounds.max[1] > 10);

    mesh = zolt_mesh_build(model, 0, 0, &options);
    CHECK(zolt_mesh_get(mesh, &info) && info.num_vertices == 3 && info.num_indices == 3 && info.index_size == 2);
    CHECK(info.stride == 32 + 8 + 16 && info.num_shares == 4 && ((const float*)info.vertices)[0] == 6);
    zolt_mesh_free(mesh);
    options.size = sizeof(options);
    CHECK(!zolt_mesh_build(model, 0, 0, &options) && !zolt_mesh_build(model, 1, 0, NULL));
    zolt_figure_free(figure);
    zolt_figure_free(NULL);
}

int main(int argc, char** argv)
{
    zolt_model* model = zolt_model_load_file(argc > 1 ? argv[1] : "");
    CHECK(zolt_version() == ZOLT_VERSION && model && zolt_model_count(model, ZOLT_ANIM) == 3);
    CHECK(PrintGrip(argv[1]) && !PrintGrip("nowhere.abc"));
    if (model)
    {
        CheckRefusals(model);
        CheckPlay(model);
    }
    return g_nFailures != 0;
}

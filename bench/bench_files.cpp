// How long loading and saving take, beside a memcpy of the same bytes, and how loading, saving and evaluating grow with
// what a model holds.
//
// Memory stays with the process once it has been had. What is measured is the work, then, and not how long the kernel
// takes for fresh pages, which is more on some machines, but the same for every way to load.

#include <benchmark/benchmark.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <malloc.h>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/benchmodels.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"
#include "zoltshared/stdzolt/mappedstream.h"
#include "zoltshared/stdzolt/memorystream.h"
#include "zoltshared/stdzolt/stdiostream.h"

namespace
{
using Bytes = std::vector<uint8_t>;

Bytes FileBytes(Model& model)
{
    MemoryStream stream(0x100000);
    if (!model.WriteSections(&stream))
        std::abort();
    return Bytes(stream.m_Data.GetArray(), stream.m_Data.GetArray() + stream.m_Data.GetSize());
}

// Figures of about n times 4 MB: sheets of 60,000 triangles on 60 nodes, 300 keys for each sheet.
void BuildFigures(ConvModel& model, uint32_t n)
{
    BuildSkeleton(model, 60, 2, 300 * n);
    BuildPieces(model, n, 30000, 60000);
}

const Bytes& FigureBytes(const benchmark::State& state)
{
    static std::map<int64_t, Bytes> files;
    Bytes& bytes = files[state.range(0)];
    if (bytes.empty())
    {
        ConvModel model;
        BuildFigures(model, static_cast<uint32_t>(state.range(0)));
        bytes = FileBytes(model);
    }
    return bytes;
}

// Once ahead of the clock, so that there is memory, and then as often as wanted.
template <class Run> void Measure(benchmark::State& state, size_t size, const Run& run)
{
    bool bDone = run();
    while (state.KeepRunning())
        bDone = run() && bDone;
    if (!bDone)
        state.SkipWithError("failed");
    state.SetBytesProcessed(static_cast<int64_t>(size) * state.iterations());
}

// Into memory that is taken for it, as a load takes its own.
void Copy(benchmark::State& state)
{
    const Bytes& bytes = FigureBytes(state);
    Measure(state, bytes.size(),
            [&bytes]
            {
                const auto copy = std::make_unique_for_overwrite<uint8_t[]>(bytes.size());
                memcpy(copy.get(), bytes.data(), bytes.size());
                benchmark::DoNotOptimize(copy.get());
                benchmark::ClobberMemory();
                return true;
            });
}

// A stream that lasts as long as this.
struct OpenStream
{
    explicit OpenStream(ModelStream* pStream) : m_pStream(pStream, [](ModelStream* p) { p->Release(); }) {}
    std::unique_ptr<ModelStream, void (*)(ModelStream*)> m_pStream;
};

ModelStream* OpenMemory(const Bytes& bytes)
{
    return CreateFixedMemoryStream(const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
}

bool LoadFrom(Model& model, ModelStream* pStream)
{
    LoadRequest request;
    request.m_pStream = pStream;
    return model.Load(&request) == RESULT_OK;
}

void LoadBytes(benchmark::State& state, const Bytes& bytes)
{
    Measure(state, bytes.size(),
            [&bytes]
            {
                const OpenStream stream(OpenMemory(bytes));
                Model loaded(&g_DefaultAllocator, &g_DefaultAllocator);
                return LoadFrom(loaded, stream.m_pStream.get());
            });
}

void Load(benchmark::State& state)
{
    LoadBytes(state, FigureBytes(state));
}

void LoadOneBlock(benchmark::State& state)
{
    const Bytes& bytes = FigureBytes(state);
    Measure(state, bytes.size(),
            [&bytes]
            {
                const OpenStream stream(OpenMemory(bytes));
                Model loaded(&g_DefaultAllocator, &g_DefaultAllocator);
                return loaded.PrepareBlock(stream.m_pStream.get(), &g_DefaultAllocator) == RESULT_OK &&
                       LoadFrom(loaded, stream.m_pStream.get());
            });
}

// Through the file system, whose cache holds the file.
void LoadFile(benchmark::State& state, ModelStream* (*pOpen)(const char*))
{
    const Bytes& bytes = FigureBytes(state);
    std::string path = std::filesystem::temp_directory_path() / "bench_model_XXXXXX";
    const int fd = mkstemp(path.data());
    FILE* pFile = fd >= 0 ? fdopen(fd, "wb") : nullptr;
    if (!pFile || std::fwrite(bytes.data(), 1, bytes.size(), pFile) != bytes.size() || std::fclose(pFile) != 0)
        state.SkipWithError("no file");
    Measure(state, bytes.size(),
            [&path, pOpen]
            {
                const OpenStream stream(pOpen(path.c_str()));
                Model loaded(&g_DefaultAllocator, &g_DefaultAllocator);
                return LoadFrom(loaded, stream.m_pStream.get());
            });
    std::remove(path.c_str());
}

void LoadStdio(benchmark::State& state)
{
    LoadFile(state, [](const char* pPath) { return OpenStdioStream(pPath, "rb"); });
}

void LoadMapped(benchmark::State& state)
{
    LoadFile(state, OpenMappedStream);
}

void SaveModel(benchmark::State& state, ConvModel& model)
{
    Measure(state, FileBytes(model).size(),
            [&model]
            {
                MemoryStream stream(0x100000);
                return model.Save(&stream) != QZFALSE;
            });
}

void Save(benchmark::State& state)
{
    ConvModel model;
    BuildFigures(model, static_cast<uint32_t>(state.range(0)));
    SaveModel(state, model);
}

// A pose and its vertices, of a model as it has been loaded.
void EvaluateModel(benchmark::State& state, ConvModel& built)
{
    const Bytes bytes = FileBytes(built);
    const OpenStream stream(OpenMemory(bytes));
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    if (!LoadFrom(model, stream.m_pStream.get()))
        state.SkipWithError("not loaded");
    std::vector<Vector3> positions(model.CalcNumVerts() + 1);
    VertexDeformRequest request;
    request.m_nAnims = 1;
    request.m_Anims[0].Init(&model, 0, 0, 0, 1, 0.3f);
    request.m_pVertOut = positions.data();
    Measure(state, 0, [&] { return model.GetVertexPositions(&request, QZTRUE) != QZFALSE; });
}

// Models of which one number grows.
struct Series
{
    const char* m_pName;
    void (*m_pBuild)(ConvModel&, uint32_t);
};

constexpr Series SERIES[] = {
    {"vertices",
     [](ConvModel& model, uint32_t n)
     {
         BuildSkeleton(model, 10, 2, 2);
         BuildPieces(model, 1, n, 0);
     }},
    {"triangles",
     [](ConvModel& model, uint32_t n)
     {
         BuildSkeleton(model, 10, 2, 2);
         BuildPieces(model, 1, 1000, n);
     }},
    {"nodes", [](ConvModel& model, uint32_t n) { BuildSkeleton(model, n, 2, 2); }},
    {"keys", [](ConvModel& model, uint32_t n) { BuildSkeleton(model, 10, 2, n); }},
    {"pieces",
     [](ConvModel& model, uint32_t n)
     {
         BuildSkeleton(model, 10, 2, 2);
         BuildPieces(model, n, 16, 18);
     }},
    {"clips",
     [](ConvModel& model, uint32_t n)
     {
         BuildNodes(model, 10, 2);
         model.m_Anims.SetSize(n);
         for (uint32_t i = 0; i < n; ++i)
             BuildClip(model, i, "clip" + std::to_string(i), 2);
     }},
};

void LoadSeries(benchmark::State& state, ConvModel& model)
{
    LoadBytes(state, FileBytes(model));
}

bool RegisterAll()
{
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    const std::pair<const char*, void (*)(benchmark::State&)> sized[] = {{"Copy", Copy},
                                                                         {"Load", Load},
                                                                         {"LoadOneBlock", LoadOneBlock},
                                                                         {"LoadStdio", LoadStdio},
                                                                         {"LoadMapped", LoadMapped},
                                                                         {"Save", Save}};
    for (const int64_t size : {1, 4, 16})
    {
        for (const auto& [name, run] : sized)
            benchmark::RegisterBenchmark(("Files/" + std::string(name)).c_str(), run)
                ->Arg(size)
                ->Unit(benchmark::kMillisecond);
    }
    const std::pair<const char*, void (*)(benchmark::State&, ConvModel&)> grown[] = {
        {"Load", LoadSeries}, {"Save", SaveModel}, {"Evaluate", EvaluateModel}};
    for (const Series& series : SERIES)
    {
        for (const auto& [name, run] : grown)
        {
            const auto build = [&series, run = run](benchmark::State& state)
            {
                ConvModel model;
                series.m_pBuild(model, static_cast<uint32_t>(state.range(0)));
                run(state, model);
            };
            benchmark::internal::Benchmark* pGrown =
                benchmark::RegisterBenchmark(("Series/" + std::string(name) + "/" + series.m_pName).c_str(), build);
            pGrown->MinTime(0.1)->Unit(benchmark::kMicrosecond);
            for (int64_t n = 1000; n <= 64000; n *= 2)
                pGrown->Arg(n);
        }
    }
    return true;
}

const bool g_bRegistered = RegisterAll();
} // namespace

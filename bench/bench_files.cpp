// How long loading and saving take, beside a memcpy of the same bytes, and how both grow with what a model holds.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/benchmodels.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"
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

const Bytes& FigureBytes()
{
    static const Bytes bytes = []
    {
        ConvModel model;
        BuildFigure(model);
        return FileBytes(model);
    }();
    return bytes;
}

void CountBytes(benchmark::State& state, size_t size)
{
    state.SetBytesProcessed(static_cast<int64_t>(size) * state.iterations());
}

// Into memory that is taken for it, as a load takes its own.
void CopyFile(benchmark::State& state)
{
    const Bytes& bytes = FigureBytes();
    while (state.KeepRunning())
    {
        void* pCopy = std::malloc(bytes.size());
        memcpy(pCopy, bytes.data(), bytes.size());
        benchmark::DoNotOptimize(pCopy);
        benchmark::ClobberMemory();
        std::free(pCopy);
    }
    CountBytes(state, bytes.size());
}

// Into memory that is there and mostly in the cache.
void CopyFileOver(benchmark::State& state)
{
    const Bytes& bytes = FigureBytes();
    Bytes copy(bytes.size());
    while (state.KeepRunning())
    {
        memcpy(copy.data(), bytes.data(), bytes.size());
        benchmark::ClobberMemory();
    }
    CountBytes(state, bytes.size());
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
    while (state.KeepRunning())
    {
        const OpenStream stream(OpenMemory(bytes));
        Model loaded(&g_DefaultAllocator, &g_DefaultAllocator);
        if (!LoadFrom(loaded, stream.m_pStream.get()))
            state.SkipWithError("not loaded");
    }
    CountBytes(state, bytes.size());
}

void Load(benchmark::State& state)
{
    LoadBytes(state, FigureBytes());
}

void LoadOneBlock(benchmark::State& state)
{
    while (state.KeepRunning())
    {
        const OpenStream stream(OpenMemory(FigureBytes()));
        Model loaded(&g_DefaultAllocator, &g_DefaultAllocator);
        if (loaded.PrepareBlock(stream.m_pStream.get(), &g_DefaultAllocator) != RESULT_OK ||
            !LoadFrom(loaded, stream.m_pStream.get()))
            state.SkipWithError("not loaded");
    }
    CountBytes(state, FigureBytes().size());
}

// Through the file system, whose cache holds the file.
void LoadFile(benchmark::State& state, ModelStream* (*pOpen)(const char*))
{
    const Bytes& bytes = FigureBytes();
    char path[] = "/tmp/bench_model_XXXXXX";
    const int fd = mkstemp(path);
    FILE* pFile = fd >= 0 ? fdopen(fd, "wb") : nullptr;
    if (!pFile || std::fwrite(bytes.data(), 1, bytes.size(), pFile) != bytes.size() || std::fclose(pFile) != 0)
        state.SkipWithError("no file");
    while (state.KeepRunning())
    {
        const OpenStream stream(pOpen(path));
        Model loaded(&g_DefaultAllocator, &g_DefaultAllocator);
        if (!LoadFrom(loaded, stream.m_pStream.get()))
            state.SkipWithError("not loaded");
    }
    std::remove(path);
    CountBytes(state, bytes.size());
}

void LoadStdio(benchmark::State& state)
{
    LoadFile(state, [](const char* pPath) { return OpenStdioStream(pPath, "rb"); });
}

void SaveModel(benchmark::State& state, ConvModel& model)
{
    uint32_t size = 0;
    while (state.KeepRunning())
    {
        MemoryStream stream(0x100000);
        if (!model.Save(&stream))
            state.SkipWithError("not saved");
        size = stream.m_Data.GetSize();
    }
    CountBytes(state, size);
}

void Save(benchmark::State& state)
{
    ConvModel model;
    BuildFigure(model);
    SaveModel(state, model);
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
         BuildNodes(model, 10, 2);
         BuildPieces(model, 1, n, 0);
     }},
    {"triangles",
     [](ConvModel& model, uint32_t n)
     {
         BuildNodes(model, 10, 2);
         BuildPieces(model, 1, 1000, n);
     }},
    {"nodes", [](ConvModel& model, uint32_t n) { BuildSkeleton(model, n, 2, 2); }},
    {"keys", [](ConvModel& model, uint32_t n) { BuildSkeleton(model, 10, 2, n); }},
    {"pieces",
     [](ConvModel& model, uint32_t n)
     {
         BuildNodes(model, 10, 2);
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

void RegisterSeries()
{
    for (const Series& series : SERIES)
    {
        const auto load = [&series](benchmark::State& state)
        {
            ConvModel model;
            series.m_pBuild(model, static_cast<uint32_t>(state.range(0)));
            LoadBytes(state, FileBytes(model));
        };
        const auto save = [&series](benchmark::State& state)
        {
            ConvModel model;
            series.m_pBuild(model, static_cast<uint32_t>(state.range(0)));
            SaveModel(state, model);
        };
        const auto sized = [](benchmark::internal::Benchmark* pBenchmark)
        { pBenchmark->RangeMultiplier(2)->Range(1000, 64000)->MinTime(0.1)->Unit(benchmark::kMillisecond); };
        sized(benchmark::RegisterBenchmark((std::string("Load/") + series.m_pName).c_str(), load));
        sized(benchmark::RegisterBenchmark((std::string("Save/") + series.m_pName).c_str(), save));
    }
}

const bool g_bRegistered = (RegisterSeries(), true);
} // namespace

BENCHMARK(CopyFile)->Unit(benchmark::kMillisecond);
BENCHMARK(CopyFileOver)->Unit(benchmark::kMillisecond);
BENCHMARK(Load)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadOneBlock)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadStdio)->Unit(benchmark::kMillisecond);
BENCHMARK(Save)->Unit(benchmark::kMillisecond);

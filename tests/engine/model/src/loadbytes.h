#pragma once

#include "engine/model/src/model.h"
#include "tests/engine/model/src/abcbytes.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

#include <memory>
#include <string>

// Loads bytes into a model; the request may say more than the stream.
inline uint32_t LoadBytes(Model& model, const std::string& bytes, LoadRequest request = LoadRequest())
{
    FixedMemoryStream stream(const_cast<char*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
    request.m_pStream = &stream;
    return model.Load(&request);
}

inline uint32_t PrepareBlockBytes(Model& model, const std::string& bytes, Allocator* pAllocator)
{
    FixedMemoryStream stream(const_cast<char*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
    return model.PrepareBlock(&stream, pAllocator);
}

// A model on the heap with the file's contents.
struct LoadedModel : Model
{
    explicit LoadedModel(const abc::File& file) : Model(&g_DefaultAllocator, &g_DefaultAllocator)
    {
        m_Result = LoadBytes(*this, file.Write());
    }

    uint32_t m_Result;
};

#include "abctools/modelfile.h"

#include "abctools/displaytext.h"
#include "abctools/format.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelallocations.h"
#include "engine/model/src/modelfolder.h"
#include "engine/model/src/modelformat.h"
#include "engine/model/src/seektosection.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"
#include "zoltshared/stdzolt/memorystream.h"
#include "zoltshared/stdzolt/replacefilestream.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

constexpr uint32_t SAVE_CACHE_SIZE = 0x10000;

static void IgnoreAssertion(const char* /*expression*/, const char* /*file*/, int /*line*/) {}

QuietAssertions::QuietAssertions() : m_pOld(SetAssertionSink(IgnoreAssertion)) {}

QuietAssertions::~QuietAssertions()
{
    SetAssertionSink(m_pOld);
}

bool ReadAllBytes(const std::string& path, std::vector<uint8_t>& bytes, std::string& error)
{
    std::error_code code;
    const std::filesystem::file_status status = std::filesystem::status(path, code);
    if (status.type() == std::filesystem::file_type::not_found)
    {
        error = "there is no such file";
        return false;
    }
    if (std::filesystem::is_directory(status))
    {
        error = "it is a folder";
        return false;
    }
    const uintmax_t length = std::filesystem::file_size(path, code);
    if (code)
    {
        error = "it can't be read: " + code.message();
        return false;
    }
    FILE* pFile = std::fopen(path.c_str(), "rb");
    if (!pFile)
    {
        error = "it can't be read: " + std::generic_category().message(errno);
        return false;
    }
    bytes.resize(length);
    const size_t nRead = std::fread(bytes.data(), 1, bytes.size(), pFile);
    std::fclose(pFile);
    if (nRead != bytes.size())
    {
        error = "it can't be read to its end";
        return false;
    }
    return true;
}

bool ReadModelBytes(const std::string& path, std::vector<uint8_t>& bytes, std::string& error)
{
    std::error_code code;
    if (std::filesystem::file_size(path, code) > UINT32_MAX && !code)
    {
        error = "it is not a model file: it is too long for one";
        return false;
    }
    return ReadAllBytes(path, bytes, error);
}

// Why a load failed: the loader's own words, but for what is no model file or none that can be read.
static std::string ReasonFor(std::span<const uint8_t> bytes, const char* pWords)
{
    FixedMemoryStream stream(const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
    uint32_t version = 0;
    if (!SeekToSection(&stream, SECTION_HEADER))
        return "it is not a model file";
    if (stream.ReadU32(version).ErrorStatus() == 0 &&
        (version < MODEL_OLDEST_VERSION || version > MODEL_NEWEST_VERSION))
        return Format("it is a model file of version %u, and versions 9 to 12 can be read", version);
    return std::string("it can't be loaded: ") + pWords;
}

bool LoadModelBytes(std::span<const uint8_t> bytes, Model& model, LoadRequest& request, std::string& error)
{
    QuietAssertions quiet;
    FixedMemoryStream stream(const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
    char words[LOAD_ERROR_TEXT_SIZE];
    request.m_pStream = &stream;
    request.m_pErrorText = words;
    request.m_ErrorTextSize = sizeof(words);
    const uint32_t result = model.Load(&request);
    request.m_pStream = nullptr;
    request.m_pErrorText = nullptr;
    request.m_ErrorTextSize = 0;
    if (result != RESULT_OK)
        error = ReasonFor(bytes, words);
    return result == RESULT_OK;
}

bool WriteWholeFile(const std::string& path, std::span<const uint8_t> bytes, std::string& error)
{
    ReplaceFileStream* pFile = OpenReplaceFileStream(path.c_str());
    if (!pFile)
    {
        error = "it can't be opened for writing";
        return false;
    }
    const bool bWritten = pFile->Write(bytes.data(), static_cast<uint32_t>(bytes.size())) == 0 && pFile->Commit() == 0;
    pFile->Release();
    if (!bWritten)
        error = "it can't be written";
    return bWritten;
}

bool LoadWithChildren(std::span<const uint8_t> bytes, ModelFolder& folder, Model& model,
                      std::vector<std::string>& warnings, std::string& error)
{
    LoadRequest request;
    folder.Attach(&request);
    if (!LoadModelBytes(bytes, model, request, error))
        return false;
    for (uint32_t i = 1; i < model.NumChildModels(); ++i)
    {
        if (!model.GetChildModel(i)->m_pModel)
            warnings.push_back("child model " + std::string(model.GetChildModel(i)->m_pName) +
                               " isn't in its folder, so its bindings are left out");
    }
    return true;
}

bool SaveModelBytes(Model& model, std::vector<uint8_t>& bytes, std::string& error)
{
    const auto release = [](MemoryStream* pStream) { pStream->Release(); };
    const std::unique_ptr<MemoryStream, decltype(release)> stream(new MemoryStream(SAVE_CACHE_SIZE), release);
    Model proof(&g_DefaultAllocator, &g_DefaultAllocator);
    LoadRequest request;
    request.m_pStream = stream.get();
    request.m_bLoadChildModels = QZFALSE;
    if (!model.Save(stream.get()) || proof.Load(&request) != RESULT_OK)
    {
        error = "the model can't be saved";
        return false;
    }
    bytes.assign(stream->m_Data.GetArray(), stream->m_Data.GetArray() + stream->m_Data.GetSize());
    return true;
}

bool SaveModelFile(const std::string& path, Model& model, std::string& error)
{
    // The file isn't even opened before the bytes are known to be a model.
    std::vector<uint8_t> bytes;
    return SaveModelBytes(model, bytes, error) && WriteWholeFile(path, bytes, error);
}

std::string FolderOf(const std::string& path)
{
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::string ErrorLine(const std::string& path, const std::string& error)
{
    return "error: " + TerminalText(path) + ": " + TerminalText(error) + ".\n";
}

std::string WarningLine(const std::string& path, const std::string& warning)
{
    return "warning: " + TerminalText(path) + ": " + TerminalText(warning) + ".\n";
}

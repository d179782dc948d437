// Model files on disk, with a sentence for whatever goes wrong.
//
// Errors are the end of a sentence about the file, without its name and the full stop: "it can't be loaded: ...".
#pragma once

#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

ZOLT_BEGIN_NAMESPACE
class Model;
class ModelFolder;
struct LoadRequest;
ZOLT_END_NAMESPACE

// Nothing that the model code reports about a file reaches stderr while it lives: the tools say it themselves.
class QuietAssertions
{
public:
    QuietAssertions();
    ~QuietAssertions();
    QuietAssertions(const QuietAssertions&) = delete;
    QuietAssertions& operator=(const QuietAssertions&) = delete;

private:
    AssertionSink m_pOld;
};

bool ReadAllBytes(const std::string& path, std::vector<uint8_t>& bytes, std::string& error);
bool ReadModelBytes(const std::string& path, std::vector<uint8_t>& bytes, std::string& error);

// Loads the bytes of a file into a model; the request's stream is set for the time of the call.
bool LoadModelBytes(std::span<const uint8_t> bytes, Model& model, LoadRequest& request, std::string& error);

// The same with the child models of a folder, so that their bindings are kept. What isn't there is told in `warnings`.
bool LoadWithChildren(std::span<const uint8_t> bytes, ModelFolder& folder, Model& model,
                      std::vector<std::string>& warnings, std::string& error);

// The bytes of a file of the model, which load.
bool SaveModelBytes(Model& model, std::vector<uint8_t>& bytes, std::string& error);

// Writes a model so that the file is replaced as a whole or not at all.
bool SaveModelFile(const std::string& path, Model& model, std::string& error);

// The same for any bytes.
bool WriteWholeFile(const std::string& path, std::span<const uint8_t> bytes, std::string& error);

// The folder that a file is in, "." for the current one.
std::string FolderOf(const std::string& path);

// "error: FILE: it is a folder." as one printable line, with its line break.
std::string ErrorLine(const std::string& path, const std::string& error);

// The same with "warning:", of what doesn't keep the command from its job.
std::string WarningLine(const std::string& path, const std::string& warning);

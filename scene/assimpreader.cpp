#include "scene/assimpreader.h"

#include "scene/assimpimport.h"
#include "scene/assimpparts.h"
#include "scene/foldpivots.h"
#include "scene/readfile.h"
#include "scene/wholescene.h"

#include <assimp/DefaultIOSystem.h>
#include <assimp/commonMetaData.h>

#include <algorithm>

static const std::size_t MAX_REASON_LENGTH = 300;
static const unsigned TRIAL_SECONDS = 10; // what the trial of every file may take, and what more for each MiB of it
static const std::uintmax_t TRIAL_BYTES = std::uintmax_t(2) << 30U;
static const std::uintmax_t TRIAL_BYTES_PER_BYTE = 64;

namespace
{

// Notes which files are opened.
class NotingIOSystem : public Assimp::DefaultIOSystem
{
public:
    explicit NotingIOSystem(std::vector<std::string>& files) : m_Files(files) {}

    Assimp::IOStream* Open(const char* path, const char* mode) override
    {
        Assimp::IOStream* stream = DefaultIOSystem::Open(path, mode);
        if (stream != nullptr)
        {
            m_Files.emplace_back(path);
        }
        return stream;
    }

private:
    std::vector<std::string>& m_Files;
};

} // namespace

bool AssimpReading::Fail(const std::string& reason)
{
    error = reason;
    return false;
}

int AssimpReading::FindNode(const std::string& name)
{
    const auto it = nodeOfName.find(name);
    if (it == nodeOfName.end())
    {
        return -1;
    }
    if (repeatedNames.erase(name) > 0)
    {
        scene.warnings.push_back("Several nodes are called " + name +
                                 "; bones and animation of that name go to the "
                                 "first.");
    }
    return it->second;
}

// Assimp's reason on one line, as the end of a sentence without its full stop.
static std::string CleanReason(const std::string& text)
{
    std::string line;
    for (const char c : text)
    {
        const bool blank = static_cast<unsigned char>(c) <= ' ' || c == '\x7F';
        if (!blank)
        {
            line += c;
        }
        else if (!line.empty() && line.back() != ' ')
        {
            line += ' ';
        }
    }
    line.resize(std::min(line.size(), MAX_REASON_LENGTH));
    while (!line.empty() && (line.back() == '.' || line.back() == ' '))
    {
        line.pop_back();
    }
    return line.empty() ? "it is damaged" : line;
}

static std::string Refusal(const std::string& path, const std::string& reason)
{
    const std::string extension = FileExtensionOf(path);
    if (extension.empty() || !Assimp::Importer().IsExtensionSupported("." + extension))
    {
        return FileNameOf(path) + " is of no known scene format.";
    }
    if (reason.find("bad_alloc") != std::string::npos)
    {
        return FileNameOf(path) + " can't be read: it is damaged, or too large for the memory.";
    }
    return FileNameOf(path) + " can't be read: " + CleanReason(reason) + ".";
}

static bool CheckFile(const std::string& path, std::string& error)
{
    std::uintmax_t length = 0;
    if (!FindFileLength(path, length, error))
    {
        error = path + " " + error + ".";
        return false;
    }
    if (length == 0)
    {
        error = FileNameOf(path) + " is empty.";
        return false;
    }
    const std::uintmax_t mebibytes = std::min<std::uintmax_t>(length >> 20U, 100000);
    const unsigned seconds = TRIAL_SECONDS * static_cast<unsigned>(1 + mebibytes);
    std::string reason;
    switch (TryImport(path, seconds, TRIAL_BYTES + TRIAL_BYTES_PER_BYTE * length, reason))
    {
    case TrialResult::Good:
        return true;
    case TrialResult::Refused:
        error = Refusal(path, reason);
        break;
    case TrialResult::Crashed:
        error = Refusal(path, "it is damaged, or too large for the memory");
        break;
    case TrialResult::TooSlow:
        error = Refusal(path, "it is damaged, reading it comes to no end");
        break;
    }
    return false;
}

static bool Import(const std::string& path, Assimp::Importer& importer, bool useNames, std::string& error)
{
    const aiScene* source = ImportWithAssimp(importer, path, useNames);
    if (source != nullptr && source->mRootNode != nullptr)
    {
        return true;
    }
    error = Refusal(path, importer.GetErrorString());
    return false;
}

static bool IsFormat(const aiScene& source, const char* word)
{
    aiString format;
    return source.mMetaData != nullptr && source.mMetaData->Get(AI_METADATA_SOURCE_FORMAT, format) &&
           std::string(format.C_Str()).find(word) != std::string::npos;
}

static bool HasRepeatedNames(const std::vector<const aiNode*>& nodes)
{
    std::set<std::string> names;
    return std::any_of(nodes.begin(), nodes.end(),
                       [&names](const aiNode* node) { return !names.insert(node->mName.C_Str()).second; });
}

static bool ReadSource(const std::string& path, const aiScene& source, const std::vector<std::string>& names,
                       Scene& scene, std::string& error)
{
    AssimpReading reading{source, scene, FileFolderOf(path), IsFormat(source, "Collada")};
    scene.fileStem = FileStemOf(path);
    scene.name = source.mName.C_Str();
    if (IsFormat(source, "FBX"))
    {
        ReadFbxSettings(*source.mMetaData, scene);
    }
    ListAssimpTextures(reading);
    if (!ReadAssimpNodes(reading) || !ReadAssimpMeshes(reading) || !ReadAssimpClips(reading))
    {
        error = FileNameOf(path) + ": " + reading.error + ".";
        return false;
    }
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        scene.nodes[i].name = names.size() == scene.nodes.size() ? names[i] : scene.nodes[i].name;
    }
    FoldPivotNodes(scene);
    return true;
}

// Assimp ties bones and animation to nodes by what they are called. In a Collada file names may repeat, so where they
// do, the file is read once more with identifiers in their place.
static bool ReadParts(const std::string& path, Scene& scene, std::string& error)
{
    Assimp::Importer importer;
    importer.SetIOHandler(new NotingIOSystem(scene.files)); // the importer's from here on
    std::vector<const aiNode*> nodes;
    if (!CheckFile(path, error) || !Import(path, importer, true, error))
    {
        return false;
    }
    const aiScene& source = *importer.GetScene();
    std::vector<std::string> names;
    if (!IsFormat(source, "Collada") || !ListAssimpNodes(source.mRootNode, nodes) || !HasRepeatedNames(nodes))
    {
        return ReadSource(path, source, names, scene, error);
    }
    for (const aiNode* node : nodes)
    {
        names.push_back(AssimpNodeName(*node));
    }
    return Import(path, importer, false, error) && ReadSource(path, *importer.GetScene(), names, scene, error);
}

bool ZoltReadAssimpScene(const char* path, Scene& scene, std::string& error)
{
    return ReadWholeScene(path, scene, error, ReadParts);
}

#include "scene/fileformat.h"

#include <fstream>

// So many bytes tell most formats apart; a text of glTF or Collada is looked for in more.
static const std::size_t HEADER = 32;
static const std::size_t MAX_HEAD = 65536;

// Reads on until `head` has that length, or to the file's end.
static void ReadUpTo(std::ifstream& file, std::size_t length, std::string& head)
{
    const std::size_t had = head.size();
    head.resize(length);
    file.read(head.data() + had, static_cast<std::streamsize>(length - had));
    head.resize(had + static_cast<std::size_t>(file.gcount()));
}

// Members of which a glTF document has one near its beginning.
static bool LooksLikeGltf(const std::string& head)
{
    for (const char* member :
         {"\"asset\"", "\"scenes\"", "\"nodes\"", "\"meshes\"", "\"accessors\"", "\"bufferViews\""})
    {
        if (head.find(member) != std::string::npos)
        {
            return true;
        }
    }
    return false;
}

std::string FindFormatByBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string head;
    ReadUpTo(file, HEADER, head);
    if (head.compare(0, 4, "glTF") == 0)
    {
        return "glb";
    }
    if (head.compare(0, 18, "Kaydara FBX Binary") == 0 || head.compare(0, 5, "; FBX") == 0)
    {
        return "fbx";
    }
    ReadUpTo(file, MAX_HEAD, head);
    const std::size_t mark = head.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0; // of UTF-8
    const std::size_t first = head.find_first_not_of(" \t\r\n", mark);
    if (first != std::string::npos && head[first] == '{' && LooksLikeGltf(head))
    {
        return "gltf";
    }
    return first != std::string::npos && head[first] == '<' && head.find("<COLLADA") != std::string::npos ? "dae" : "";
}

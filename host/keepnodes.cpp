#include "host/keepnodes.h"

#include "host/commandlineuser.h"
#include "host/loadmodelfile.h"
#include "zoltshared/stdzolt/findnametoken.h"
#include "zoltshared/stdzolt/replacefilestream.h"

#include <algorithm>
#include <map>
#include <utility>

#include <fnmatch.h>

static const char WISH[] = "_zN";

KeepWishes::KeepWishes(RecordedScene& recorded, const std::vector<std::string>& patterns) : m_Recorded(recorded)
{
    std::vector<bool> used(patterns.size(), false);
    for (int i = 0; i < recorded.NumElements(); i++)
    {
        const std::string& name = recorded.Element(i).name;
        bool fits = false;
        for (size_t p = 0; p < patterns.size(); p++)
        {
            if (fnmatch(patterns[p].c_str(), name.c_str(), FNM_CASEFOLD) == 0)
                fits = used[p] = true;
        }
        if (fits && recorded.Element(i).level > 0 && !FindNameToken(name.c_str(), "N"))
            m_Elements.push_back(i);
    }
    for (size_t p = 0; p < patterns.size(); p++)
    {
        if (!used[p])
            m_Unused.push_back(patterns[p]);
    }
}

std::vector<bool> KeepWishes::Nodes() const
{
    std::vector<bool> nodes(m_Recorded.GetScene().nodes.size(), false);
    for (const int element : m_Elements)
    {
        if (m_Recorded.Element(element).isNode)
            nodes[static_cast<size_t>(m_Recorded.Element(element).node)] = true;
    }
    return nodes;
}

void KeepWishes::Tell(bool wished)
{
    for (const int element : m_Elements)
        m_Recorded.SetWish(element, wished ? WISH : "");
}

std::string KeepWishes::CleanText(const std::string& text) const
{
    std::string clean = text;
    for (const int element : m_Elements)
    {
        const std::string& name = m_Recorded.Element(element).name;
        clean = ReplaceAll(std::move(clean), std::string(name).append(WISH), name);
    }
    return clean;
}

bool KeepWishes::CleanModel(const std::string& file, std::string& error) const
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    if (!LoadModelFile(file, model))
    {
        error = "Unable to read the model back to name its nodes.";
        return false;
    }
    std::map<std::string, std::string> names;
    std::map<std::string, std::string> pieceNames; // of which so many bytes are there
    for (const int element : m_Elements)
    {
        const std::string& name = m_Recorded.Element(element).name;
        names[name + WISH] = name;
        pieceNames[(name + WISH).substr(0, MODELPIECE_NAME_SIZE - 1)] = name;
    }
    for (uint32_t i = 0; i < model.NumNodes(); i++)
    {
        const auto name = names.find(model.GetNode(i)->GetName());
        if (name != names.end())
            model.GetNode(i)->SetName(name->second.c_str());
    }
    for (uint32_t i = 0; i < model.NumPieces(); i++)
    {
        const auto name = pieceNames.find(model.GetPiece(i)->GetName());
        if (name != pieceNames.end())
            model.GetPiece(i)->SetName(name->second.c_str());
    }
    ReplaceFileStream* stream = OpenReplaceFileStream(file.c_str());
    const bool written = stream && model.Save(stream) && stream->Commit() == 0;
    if (stream)
        stream->Release();
    if (!written)
        error = "Unable to write the model with the names of its nodes.";
    return written;
}

// The chain of sections, the header, and what the sections have in common.

#include "abctools/modelfilewalk.h"

#include "abctools/format.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelformat.h"
#include "engine/model/src/seektosection.h"

#include <algorithm>
#include <cmath>

static const char* const SECTION_ORDER[] = {SECTION_HEADER,       SECTION_PIECES,    SECTION_NODES,
                                            SECTION_CHILD_MODELS, SECTION_ANIMATION, SECTION_SOCKETS,
                                            SECTION_ANIM_BINDINGS};

std::string Named(const char* pKind, const std::string& name)
{
    constexpr size_t READABLE = 64;
    const char* pMore = name.size() > READABLE ? "..." : "";
    return std::string(pKind) + " " + name.substr(0, READABLE) + pMore;
}

bool AreFinite(const float* pValues, int n)
{
    return std::all_of(pValues, pValues + n, [](float value) { return std::isfinite(value); });
}

bool ModelFileWalk::Stop(const std::string& text)
{
    Fault(text);
    return false;
}

bool ModelFileWalk::Run()
{
    if (!WalkChain() || !WalkSection(SECTION_HEADER, &ModelFileWalk::WalkHeader) ||
        !WalkSection(SECTION_NODES, &ModelFileWalk::WalkNodes) ||
        !WalkSection(SECTION_PIECES, &ModelFileWalk::WalkPieces) ||
        !WalkSection(SECTION_CHILD_MODELS, &ModelFileWalk::WalkChildModels) ||
        !WalkSection(SECTION_ANIMATION, &ModelFileWalk::WalkAnims) ||
        !WalkSection(SECTION_SOCKETS, &ModelFileWalk::WalkSockets) ||
        !WalkSection(SECTION_ANIM_BINDINGS, &ModelFileWalk::WalkBindings))
        return false;
    CheckCounts();
    return true;
}

bool ModelFileWalk::WalkChain()
{
    uint32_t at = 0;
    for (;;)
    {
        m_Reader.Seek(at);
        const std::string name = m_Reader.String();
        const uint32_t link = m_Reader.U32();
        if (m_Reader.Failed())
            return Stop(at == 0 ? "it is not a model file: no section begins it"
                                : Format("the section at %u lies beyond the end of the file", at));
        const uint32_t fileEnd = static_cast<uint32_t>(m_Bytes.size());
        m_Sections.push_back(
            {name, static_cast<uint32_t>(m_Reader.Position()), link == SECTION_CHAIN_END ? fileEnd : link});
        m_Totals.m_Sections.push_back({name, m_Sections.back().m_End > at ? m_Sections.back().m_End - at : 0});
        if (link == SECTION_CHAIN_END)
            break;
        if (link <= at)
            return Stop(Format("the section chain goes from %u back to %u", at, link));
        if (m_Sections.size() == MAX_SECTIONS)
            return Stop(Format("the section chain has more than %u sections", MAX_SECTIONS));
        at = link;
    }

    bool bComplete = true;
    for (const char* pName : SECTION_ORDER)
    {
        if (!FindSection(pName))
        {
            Fault(Format("there is no section %s", pName));
            bComplete = false;
        }
    }
    const auto sameName = [](const Section& section, const char* pName) { return section.m_Name == pName; };
    if (bComplete &&
        !std::equal(m_Sections.begin(), m_Sections.end(), std::begin(SECTION_ORDER), std::end(SECTION_ORDER), sameName))
    {
        std::string order;
        for (const Section& section : m_Sections)
            order += (order.empty() ? "" : ", ") + section.m_Name.substr(0, 20);
        Add(FindingKind::Export, "the sections stand in the order " + order.substr(0, 200));
    }
    return true;
}

// Of several sections of one name the first counts.
const ModelFileWalk::Section* ModelFileWalk::FindSection(const std::string& name) const
{
    const auto it = std::find_if(m_Sections.begin(), m_Sections.end(),
                                 [&name](const Section& section) { return section.m_Name == name; });
    return it == m_Sections.end() ? nullptr : &*it;
}

bool ModelFileWalk::WalkSection(const char* pName, bool (ModelFileWalk::*pBody)())
{
    const Section* pSection = FindSection(pName);
    if (!pSection)
        return false; // WalkChain has said so
    m_Reader.Seek(pSection->m_Body);
    const bool bWhole = (this->*pBody)();
    if (m_Reader.Failed())
        return Stop(Format("section %s runs past the end of the file", pName));
    if (!bWhole)
        return false;
    if (m_Reader.Position() != pSection->m_End)
        Lost(Format("section %s ends at %zu, the next begins at %u", pName, m_Reader.Position(), pSection->m_End));
    return true;
}

bool ModelFileWalk::WalkHeader()
{
    m_Totals.m_Version = m_Reader.U32();
    if (m_Reader.Failed())
        return false;
    if (m_Totals.m_Version < MODEL_OLDEST_VERSION || m_Totals.m_Version > MODEL_NEWEST_VERSION)
        return Stop(Format("version %u, 9 to 12 can be read", m_Totals.m_Version));
    if (m_Totals.m_Version != 12)
        Add(FindingKind::Export, Format("version %u, an export writes 12", m_Totals.m_Version));
    for (uint32_t& count : m_Counts)
        count = m_Reader.U32();
    const std::string command = m_Reader.String();
    CheckLength("the command string", command, MODEL_STRING_BUFFER);
    Intern(command);
    const float headerValue = m_Reader.F32();
    m_nLODs = 1u + m_Reader.U16();
    bool bReservedClear = true;
    for (int i = 0; i < 62; ++i)
        bReservedClear = m_Reader.U8() == 0 && bReservedClear;
    if (!bReservedClear)
        Add(FindingKind::Export, "reserved bytes of the header aren't 0");
    bool bFinite = std::isfinite(headerValue);
    for (uint32_t i = 1; i < m_nLODs && !m_Reader.Failed(); ++i)
        bFinite = std::isfinite(m_Reader.F32()) && bFinite;
    if (!bFinite)
        Fault("a value of the header isn't finite");
    return true;
}

void ModelFileWalk::CheckRotation(const std::string& owner, const float* pRotation)
{
    double sum = 0.0;
    for (int i = 0; i < 4; ++i)
        sum += double{pRotation[i]} * pRotation[i];
    if (!(std::fabs(std::sqrt(sum) - 1.0) < ROTATION_TOLERANCE))
        Fault(owner + ": a rotation isn't of length 1");
}

void ModelFileWalk::CheckLength(const std::string& owner, const std::string& text, size_t size)
{
    if (std::min(text.size(), text.find('\0')) != text.size() || text.size() >= size)
        Add(FindingKind::Warning, owner + ": a reader cuts the text of " + std::to_string(text.size()) + " bytes");
}

void ModelFileWalk::Intern(const std::string& text)
{
    const std::string kept = text.substr(0, std::min<size_t>(MODEL_STRING_BUFFER - 1, text.find('\0')));
    if (!kept.empty())
        m_Strings.insert(kept);
}

void ModelFileWalk::CheckUnique(std::set<std::string>& seen, FindingKind kind, const char* pWhat,
                                const std::string& name)
{
    std::string lower = name;
    for (char& c : lower)
    {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    if (!seen.insert(lower).second)
        Add(kind, Named(pWhat, name) + ": there are two of this name");
}

void ModelFileWalk::CheckCounts()
{
    uint64_t lengths = 0;
    for (const std::string& text : m_Strings)
        lengths += text.size();
    const struct
    {
        const char* m_pName;
        uint64_t m_Held;
    } counts[13] = {
        {"m_nKeyFrames", m_nKeyFrames},    {"m_nAnims", m_Totals.m_nAnims},    {"m_nNodes", m_Totals.m_nNodes},
        {"m_nPieces", m_Totals.m_nPieces}, {"m_nChildModels", m_nChildModels}, {"m_nTris", m_Totals.m_nTris},
        {"m_nVerts", m_Totals.m_nVerts},   {"m_nVertexWeights", m_nWeights},   {"m_nLODs", m_nLODs},
        {"m_nSockets", m_nSockets},        {"m_nWeightSets", m_nWeightSets},   {"m_nStrings", m_Strings.size()},
        {"m_StringLengths", lengths},
    };
    for (int i = 0; i < 13; ++i)
    {
        if (m_Counts[i] != counts[i].m_Held)
            Fault(Format("%s is %u, the file holds %llu", counts[i].m_pName, m_Counts[i],
                         static_cast<unsigned long long>(counts[i].m_Held)));
    }
    if (m_nWeightTotal != m_nWeights)
        Fault(Format("the weight total is %u, the meshes hold %llu", m_nWeightTotal,
                     static_cast<unsigned long long>(m_nWeights)));
    if (m_nUnweighted != 0)
        Add(FindingKind::Warning,
            Counted(m_nUnweighted, "vertex has no weight and deforms", "vertices have no weight and deform") +
                " to 0, 0, 0");
}

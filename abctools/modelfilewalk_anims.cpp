// Child models, animations with their bindings, and sockets.

#include "abctools/modelfilewalk.h"

#include "abctools/format.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelformat.h"

#include <algorithm>

constexpr size_t BINDING_NAME_SIZE = 256;

bool ModelFileWalk::WalkChildModels()
{
    m_nChildModels = m_Reader.U32();
    if (m_Reader.Failed())
        return false;
    if (m_nChildModels == 0 || m_nChildModels > MAX_CHILD_MODELS)
        return Stop(Counted(m_nChildModels, "child model") + Format(", 1 to %u can be", MAX_CHILD_MODELS));
    std::set<std::string> seen;
    for (uint32_t i = 0; i < m_nChildModels; ++i)
    {
        const std::string name = i == 0 ? "SELF" : m_Reader.String();
        const std::string label = Named("child model", name);
        m_Reader.U32(); // stamp
        if (!m_Reader.HasRoomFor(m_Totals.m_nNodes, DISK_NODEKEY))
            return false;
        bool bFinite = true;
        const size_t nBefore = m_Findings.size();
        for (uint32_t iNode = 0; iNode < m_Totals.m_nNodes; ++iNode)
        {
            float relation[7];
            m_Reader.Floats(relation, 7);
            bFinite = AreFinite(relation, 7) && bFinite;
            if (bFinite && m_Findings.size() == nBefore)
                CheckRotation(label + ", relations", relation + 3);
        }
        if (!bFinite)
            Fault(label + ": a relation isn't finite");
        if (i == 0)
            continue;
        CheckLength(label, name, MODEL_STRING_BUFFER);
        CheckUnique(seen, FindingKind::Warning, "child model", name);
        Intern(name);
    }
    return true;
}

bool ModelFileWalk::WalkAnims()
{
    const uint32_t nAnims = m_Reader.U32();
    for (uint32_t i = 0; i < nAnims; ++i)
    {
        if (!WalkAnim() || m_Reader.Failed())
            return false;
    }
    return true;
}

bool ModelFileWalk::WalkAnim()
{
    const size_t start = m_Reader.Position();
    float dims[3];
    m_Reader.Floats(dims, 3);
    const std::string name = m_Reader.String();
    if (m_Totals.m_Version >= 11)
        m_Reader.U32();
    if (m_Totals.m_Version >= 12)
        m_Reader.U32();
    const uint32_t nKeys = m_Reader.U32();
    if (!m_Reader.HasRoomFor(nKeys, DISK_KEY + uint64_t{DISK_NODEKEY} * m_Totals.m_nNodes))
        return false;
    const std::string label = Named("animation", name);
    ++m_Totals.m_nAnims;
    m_nKeyFrames += nKeys;
    m_AnimNames.push_back(name);
    Intern(name);
    CheckLength(label, name, MODEL_STRING_BUFFER);
    CheckUnique(m_SeenAnims, FindingKind::Fault, "animation", name);
    if (!AreFinite(dims, 3))
        Fault(label + ": the dimensions aren't finite");
    if (nKeys == 0)
        Fault(label + ": no keys");

    uint32_t previous = 0;
    bool bFalls = false;
    for (uint32_t i = 0; i < nKeys; ++i)
    {
        const uint32_t time = m_Reader.U32();
        if (i == 0 && time != 0)
            Fault(label + Format(": the first key is at %u", time));
        bFalls = bFalls || time < previous;
        previous = time;
        const std::string command = m_Reader.String();
        Intern(command);
        CheckLength(label, command, MODEL_STRING_BUFFER);
    }
    if (bFalls)
        Fault(label + ": the key times fall");
    if (!m_Reader.HasRoomFor(nKeys, uint64_t{DISK_NODEKEY} * m_Totals.m_nNodes))
        return false;
    bool bFinite = true;
    const size_t nBefore = m_Findings.size();
    for (uint64_t i = uint64_t{nKeys} * m_Totals.m_nNodes; i > 0; --i)
    {
        float key[7];
        m_Reader.Floats(key, 7);
        bFinite = AreFinite(key, 7) && bFinite;
        if (bFinite && m_Findings.size() == nBefore)
            CheckRotation(label, key + 3);
    }
    if (!bFinite)
        Fault(label + ": a key isn't finite");
    m_Totals.m_Anims.push_back({name, m_Reader.Position() - start});
    return true;
}

bool ModelFileWalk::WalkSockets()
{
    m_nSockets = m_Reader.U32();
    std::set<std::string> seen;
    for (uint32_t i = 0; i < m_nSockets; ++i)
    {
        const uint32_t iNode = m_Reader.U32();
        const std::string name = m_Reader.String();
        float place[7]; // rotation, position
        m_Reader.Floats(place, 7);
        if (m_Reader.Failed())
            return false;
        const std::string label = Named("socket", name);
        if (iNode >= m_Totals.m_nNodes)
            Fault(label + Format(": it is on the missing node %u", iNode));
        if (!AreFinite(place, 7))
            Fault(label + ": the place isn't finite");
        else
            CheckRotation(label, place);
        CheckLength(label, name, MODELSOCKET_NAME_SIZE);
        CheckUnique(seen, FindingKind::Warning, "socket", name);
    }
    return true;
}

bool ModelFileWalk::WalkBindings()
{
    for (uint32_t i = 0; i < m_nChildModels; ++i)
    {
        const uint32_t nBindings = m_Reader.U32();
        std::vector<std::string> names;
        bool bFinite = true;
        for (uint32_t j = 0; j < nBindings && !m_Reader.Failed(); ++j)
        {
            const std::string name = m_Reader.String();
            float vectors[6];
            m_Reader.Floats(vectors, 6);
            bFinite = AreFinite(vectors, 6) && bFinite;
            CheckLength(Named("binding", name), name, BINDING_NAME_SIZE);
            if (i == 0)
                names.push_back(name);
        }
        if (m_Reader.Failed())
            return false;
        if (i == 0 && names != m_AnimNames)
            Lost("the bindings of SELF don't name the animations");
        if (!bFinite)
            Fault(Format("a binding of child model %u isn't finite", i));
    }
    return true;
}

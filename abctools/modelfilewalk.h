#pragma once

#include "abctools/bytereader.h"
#include "abctools/modelfilecheck.h"

#include <set>

// One walk over the bytes of a model file. Each step checks a section and returns false where the rest can't be told.
class ModelFileWalk
{
public:
    explicit ModelFileWalk(std::span<const uint8_t> bytes) : m_Bytes(bytes), m_Reader(bytes) {}

    // False if the walk had to end early.
    bool Run();

    std::vector<Finding> m_Findings;
    ModelFileTotals m_Totals;

private:
    struct Section
    {
        std::string m_Name;
        uint32_t m_Body;
        uint32_t m_End; // where the next one begins, or the end of the file
    };

    void Add(FindingKind kind, const std::string& text) { m_Findings.push_back({kind, text, false}); }
    void Fault(const std::string& text) { Add(FindingKind::Fault, text); }
    void Lost(const std::string& text) { m_Findings.push_back({FindingKind::Fault, text, true}); }
    bool Stop(const std::string& text);

    bool WalkChain();
    const Section* FindSection(const std::string& name) const;
    bool WalkSection(const char* pName, bool (ModelFileWalk::*pBody)());
    bool WalkHeader();
    bool WalkNodes();  // modelfilewalk_nodes.cpp
    bool WalkPieces(); // modelfilewalk_pieces.cpp
    bool WalkMesh(const std::string& label, bool bFirst);
    bool WalkChildModels(); // modelfilewalk_anims.cpp, like the rest
    bool WalkAnims();
    bool WalkAnim();
    bool WalkSockets();
    bool WalkBindings();
    void CheckCounts();

    void CheckNode(const std::string& name, const float* pMatrix);
    void CheckRotation(const std::string& owner, const float* pRotation);
    // A field of the file that the reader keeps in `size` bytes, terminator included.
    void CheckLength(const std::string& owner, const std::string& text, size_t size);
    // Remembers a text that a load interns.
    void Intern(const std::string& text);
    // A warning for the second element of one name, ignoring case; a fault for animations.
    void CheckUnique(std::set<std::string>& seen, FindingKind kind, const char* pWhat, const std::string& name);

    std::span<const uint8_t> m_Bytes;
    ByteReader m_Reader;
    std::vector<Section> m_Sections;
    uint32_t m_Counts[13] = {};
    uint32_t m_nLODs = 0;
    uint32_t m_nKeyFrames = 0;
    uint32_t m_nChildModels = 0;
    uint64_t m_nWeights = 0;
    uint32_t m_nWeightTotal = 0;
    uint32_t m_nSockets = 0;
    uint32_t m_nWeightSets = 0;
    uint32_t m_nUnweighted = 0;
    std::set<std::string> m_Strings;
    std::vector<std::string> m_AnimNames;
    std::set<std::string> m_SeenAnims;
};

// "piece body": a kind of thing and its name, cut to a readable length.
std::string Named(const char* pKind, const std::string& name);

bool AreFinite(const float* pValues, int n);

// What a valid model file holds, checked on its bytes.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// Near a half turn the float rule that keys are made by leaves them up to half a percent off; a pose makes up for it.
constexpr double ROTATION_TOLERANCE = 0.01;
constexpr double NORMAL_TOLERANCE = 1e-3;

enum class FindingKind
{
    Fault,   // no valid file has it
    Export,  // no file that an export wrote has it
    Warning, // valid, and likely not meant
};

struct Finding
{
    FindingKind m_Kind;
    std::string m_Text;   // may hold names as they stand in the file
    bool m_bLost = false; // a load may pass over something, which a save of what it gives then lacks
};

// What a part of the file takes.
struct PartBytes
{
    std::string m_Name;
    size_t m_nBytes;
};

struct ModelFileTotals
{
    uint32_t m_Version = 0;
    uint32_t m_nNodes = 0;
    uint32_t m_nPieces = 0;
    uint32_t m_nTris = 0;
    uint32_t m_nVerts = 0;
    uint32_t m_nAnims = 0;
    uint32_t m_nMaxWeights = 0; // of one vertex
    // In file order, as far as the walk came.
    std::vector<PartBytes> m_Sections;
    std::vector<PartBytes> m_Pieces;
    std::vector<PartBytes> m_Anims;
};

// Walks all sections by itself, without the model's reader, and lists what it finds, in file order; then loads the file
// through the reader as well and checks what that promises. A fault that hides where the next field begins ends the
// walk. pTotals, if given, gets what was counted.
std::vector<Finding> CheckModelFile(std::span<const uint8_t> bytes, ModelFileTotals* pTotals = nullptr);

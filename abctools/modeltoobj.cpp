#include "abctools/modeltoobj.h"

#include "abctools/displaytext.h"
#include "abctools/format.h"
#include "engine/model/src/model.h"

#include <cmath>

// A name as one word of a line.
static std::string WordOf(const std::string& name)
{
    std::string word = TerminalText(name);
    for (char& c : word)
        c = c == ' ' ? '_' : c;
    return word.empty() ? "piece" : word;
}

static std::string VectorLine(const char* pKind, const Vector3& v)
{
    return std::string(pKind) + " " + FloatText(v.x) + " " + FloatText(v.y) + " " + FloatText(0.0f - v.z) + "\n";
}

static bool IsFinite(const Vector3& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// Indices count from 1, through all pieces. Corners are reversed, since the file is a mirror image.
static bool AddPiece(const ModelPiece& piece, size_t iFirstVert, size_t iFirstCorner, std::string& text)
{
    text += "o " + WordOf(piece.GetName()) + Format("\nusemtl texture_%u\n", piece.m_iTexture);
    for (uint32_t i = 0; i < piece.NumVerts(); ++i)
    {
        const ModelVert& vert = piece.m_Verts[i];
        if (!IsFinite(vert.m_vPos) || !IsFinite(vert.m_vNormal))
            return false;
        text += VectorLine("v", vert.m_vPos) + VectorLine("vn", vert.m_vNormal);
    }
    std::string faces;
    for (uint32_t iTri = 0; iTri < piece.NumTris(); ++iTri)
    {
        const ModelTri& tri = piece.m_Tris[iTri];
        faces += "f";
        for (int i = 2; i >= 0; --i)
        {
            if (!std::isfinite(tri.m_UVs[i].u) || !std::isfinite(tri.m_UVs[i].v))
                return false;
            text += "vt " + FloatText(tri.m_UVs[i].u) + " " + FloatText(1.0f - tri.m_UVs[i].v) + "\n";
            const size_t iVert = iFirstVert + tri.m_Indices[i];
            faces += Format(" %zu/%zu/%zu", iVert, iFirstCorner++, iVert);
        }
        faces += "\n";
    }
    text += faces;
    return true;
}

bool ModelToObj(Model& model, std::vector<uint8_t>& bytes, std::string& error)
{
    std::string text = "# abctool " ZOLT_VERSION "\n";
    size_t iVert = 1;
    size_t iCorner = 1;
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        const ModelPiece& piece = *model.GetPiece(i);
        if (!AddPiece(piece, iVert, iCorner, text))
        {
            error = "piece " + std::string(piece.GetName()) + " holds a number that isn't finite";
            return false;
        }
        iVert += piece.NumVerts();
        iCorner += size_t{3} * piece.NumTris();
    }
    bytes.assign(text.begin(), text.end());
    return true;
}

#include "fuzz/modelfields.h"

#include "abctools/bytereader.h"
#include "fuzz/require.h"

constexpr uint32_t LAST_SECTION = 0xFFFFFFFFu;

namespace
{
class FieldWalk
{
public:
    explicit FieldWalk(std::span<const uint8_t> bytes) : m_Reader(bytes) {}

    void Run()
    {
        void (FieldWalk::*const bodies[])() = {&FieldWalk::Header,   &FieldWalk::Pieces, &FieldWalk::Nodes,
                                               &FieldWalk::Children, &FieldWalk::Anims,  &FieldWalk::Sockets,
                                               &FieldWalk::Bindings};
        uint32_t next = 0;
        for (const auto body : bodies)
        {
            FUZZ_REQUIRE(m_Reader.Position() == next);
            Text();
            next = U32(ModelFieldKind::Link);
            (this->*body)();
        }
        FUZZ_REQUIRE(next == LAST_SECTION && !m_Reader.Failed());
    }

    std::vector<ModelField> m_Fields;

private:
    uint32_t U32(ModelFieldKind kind, uint32_t since = 9)
    {
        if (m_Version < since)
            return 0;
        Add(kind, 4, since);
        return m_Reader.U32();
    }
    uint32_t U16(ModelFieldKind kind)
    {
        Add(kind, 2, 9);
        return m_Reader.U16();
    }
    uint32_t Count() { return U32(ModelFieldKind::Count); }
    void Others(uint32_t n)
    {
        for (uint32_t i = 0; i < n; ++i)
        {
            Add(ModelFieldKind::Other, 1, 9);
            m_Reader.U8();
        }
    }
    void Floats(uint32_t n, uint32_t since = 9)
    {
        for (uint32_t i = 0; i < n; ++i)
            U32(ModelFieldKind::Float, since);
    }
    void Text()
    {
        Add(ModelFieldKind::Text, 2, 9);
        m_Reader.String();
    }
    void Add(ModelFieldKind kind, uint32_t size, uint32_t since)
    {
        m_Fields.push_back({kind, static_cast<uint32_t>(m_Reader.Position()), size, since});
    }

    void Header()
    {
        m_Version = U32(ModelFieldKind::Other);
        for (int i = 0; i < 13; ++i)
            Count();
        Text();
        Floats(1);
        m_nDistances = U16(ModelFieldKind::Count);
        Others(62);
        Floats(m_nDistances);
    }
    void Pieces()
    {
        Count();
        for (uint32_t nPieces = Count(); nPieces > 0; --nPieces)
        {
            U16(ModelFieldKind::Other);
            Floats(2);
            Floats(1, 10);
            for (uint32_t nSkipped = U16(ModelFieldKind::Count); nSkipped > 0; --nSkipped)
                U32(ModelFieldKind::Other);
            Text();
            for (uint32_t i = 0; i <= m_nDistances; ++i)
                Mesh();
        }
    }
    void Mesh()
    {
        for (uint32_t nCorners = 3 * Count(); nCorners > 0; --nCorners)
        {
            Floats(2);
            U16(ModelFieldKind::Index);
        }
        for (uint32_t nVerts = Count(); nVerts > 0; --nVerts)
        {
            uint32_t nWeights = U16(ModelFieldKind::Count);
            U16(ModelFieldKind::Other);
            for (; nWeights > 0; --nWeights)
            {
                U32(ModelFieldKind::Index);
                Floats(4);
            }
            Floats(6);
        }
    }
    void Nodes()
    {
        // Pre-order: as many are left as were announced.
        for (uint32_t nLeft = 1; nLeft > 0; --nLeft, ++m_nNodes)
        {
            Text();
            U16(ModelFieldKind::Other);
            Others(1);
            Floats(16);
            nLeft += Count();
        }
        for (uint32_t nSets = Count(); nSets > 0; --nSets)
        {
            Text();
            Floats(Count());
        }
    }
    void Children()
    {
        m_nLinks = Count();
        for (uint32_t i = 0; i < m_nLinks; ++i)
        {
            if (i > 0)
                Text();
            U32(ModelFieldKind::Other);
            Floats(7 * m_nNodes);
        }
    }
    void Anims()
    {
        for (uint32_t nAnims = Count(); nAnims > 0; --nAnims)
        {
            Floats(3);
            Text();
            U32(ModelFieldKind::Other, 11);
            U32(ModelFieldKind::Other, 12);
            const uint32_t nKeys = Count();
            for (uint32_t i = 0; i < nKeys; ++i)
            {
                U32(ModelFieldKind::Other);
                Text();
            }
            Floats(7 * nKeys * m_nNodes);
        }
    }
    void Sockets()
    {
        for (uint32_t nSockets = Count(); nSockets > 0; --nSockets)
        {
            U32(ModelFieldKind::Index);
            Text();
            Floats(7);
        }
    }
    void Bindings()
    {
        for (uint32_t i = 0; i < m_nLinks; ++i)
        {
            for (uint32_t nBindings = Count(); nBindings > 0; --nBindings)
            {
                Text();
                Floats(6);
            }
        }
    }

    ByteReader m_Reader;
    uint32_t m_Version = 9;
    uint32_t m_nDistances = 0;
    uint32_t m_nNodes = 0;
    uint32_t m_nLinks = 0;
};
} // namespace

std::vector<ModelField> ListModelFields(std::span<const uint8_t> bytes)
{
    FieldWalk walk(bytes);
    walk.Run();
    return std::move(walk.m_Fields);
}

static void PutU32(std::vector<uint8_t>& bytes, size_t offset, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes[offset + i] = static_cast<uint8_t>(value >> (8 * i));
}

std::vector<uint8_t> ToOlderVersion(std::span<const uint8_t> bytes, uint32_t version)
{
    constexpr uint32_t VERSION_OFFSET = 12;
    std::vector<uint8_t> older;
    std::vector<size_t> sections; // where they begin in the older file
    std::vector<size_t> links;
    uint32_t at = 0;
    uint32_t name = 0; // the last text, in the file as it is
    for (const ModelField& field : ListModelFields(bytes))
    {
        older.insert(older.end(), bytes.begin() + at, bytes.begin() + field.m_Offset);
        at = field.m_Offset + (field.m_Since > version ? field.m_Size : 0);
        if (field.m_Kind == ModelFieldKind::Text)
            name = field.m_Offset;
        if (field.m_Kind == ModelFieldKind::Link)
        {
            links.push_back(older.size());
            sections.push_back(older.size() - (field.m_Offset - name));
        }
    }
    older.insert(older.end(), bytes.begin() + at, bytes.end());
    for (size_t i = 0; i + 1 < links.size(); ++i)
        PutU32(older, links[i], static_cast<uint32_t>(sections[i + 1]));
    PutU32(older, VERSION_OFFSET, version);
    return older;
}

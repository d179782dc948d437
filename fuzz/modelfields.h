// Where each field of a model file stands, for those who damage one on purpose.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

enum class ModelFieldKind
{
    Count, // 16 or 32 bits: how many of something follow; those of the header too
    Link,  // to the next section
    Text,  // the 16-bit length of a text, which follows
    Index, // 16 or 32 bits: of a vertex or a node
    Float,
    Other
};

struct ModelField
{
    ModelFieldKind m_Kind;
    uint32_t m_Offset;
    uint32_t m_Size;
    uint32_t m_Since; // the first version that has the field
};

// The fields of a valid file of any version, in file order. The sections must be those of a save, in its order.
std::vector<ModelField> ListModelFields(std::span<const uint8_t> bytes);

// A file of version 12 as one of an older version, without the fields that it lacks.
std::vector<uint8_t> ToOlderVersion(std::span<const uint8_t> bytes, uint32_t version);

#include "zoltshared/stdzolt/streammemory.h"

#include <typeinfo>

#include "zoltshared/stdzolt/mappedstream.h"
#include "zoltshared/stdzolt/memorystream.h"

ZOLT_BEGIN_NAMESPACE

bool FindStreamMemory(ModelStream* pStream, const uint8_t** ppData, uint32_t* pSize)
{
    const std::type_info& type = typeid(*pStream);
    const uint8_t* pStart = nullptr;
    if (type == typeid(MemoryStream))
        pStart = static_cast<MemoryStream*>(pStream)->m_Data.GetArray();
    else if (type == typeid(FixedMemoryStream) || type == typeid(MappedStream))
        pStart = static_cast<FixedMemoryStream*>(pStream)->GetData();
    if (!pStart)
        return false;
    const uint32_t position = pStream->GetPosition();
    *ppData = pStart + position;
    *pSize = pStream->GetLength() - position;
    return true;
}

ZOLT_END_NAMESPACE

#include "zoltshared/stdzolt/fileiostream.h"

#include <cstring>
#include <new>

#include "zoltshared/stdzolt/fileio.h"

ZOLT_BEGIN_NAMESPACE

int FileIOStream::Read(void* pData, uint32_t size)
{
    if (m_pFileIO->Read(pData, size))
        return 0;
    m_bError = QZTRUE;
    if (size != 0)
        std::memset(pData, 0, size);
    return 1;
}

int FileIOStream::Write(const void* pData, uint32_t size)
{
    if (m_pFileIO->Write(pData, size))
        return 0;
    m_bError = QZTRUE;
    return 1;
}

int FileIOStream::SeekTo(uint32_t pos)
{
    if (m_pFileIO->Seek(pos))
        return 0;
    m_bError = QZTRUE;
    return 1;
}

int FileIOStream::GetPos(uint32_t* pPos)
{
    *pPos = m_pFileIO->GetCurPos();
    return 0;
}

int FileIOStream::GetLen(uint32_t* pLen)
{
    *pLen = m_pFileIO->GetFileLen();
    return 0;
}

ModelStream* CreateFileIOStream(FileIOBase* pFileIO)
{
    return new (std::nothrow) FileIOStream(pFileIO);
}

ZOLT_END_NAMESPACE

#pragma once

#include "zoltshared/stdzolt/basestream.h"
#include "zoltshared/stdzolt/dynarray.h"

// A stream in memory for a file that is written and then read once, front to end but for looks at its section headers:
// memory is given back as the reading goes on, so that a file and what is loaded from it needn't be there as a whole at
// the same time.
//
// What is given back are whole blocks that a read, or several without a seek in between, has gone through from their
// first byte to their last. The first block stays, and those in which something was written a second time, as the links
// of the sections are. Reading what was given back is an error.
class ReadOnceStream : public BaseStream
{
public:
    static constexpr uint32_t BLOCK_SIZE = 65536;

    ReadOnceStream() = default;
    ~ReadOnceStream() override;

    void Release() override { delete this; }
    int Read(void* pData, uint32_t size) override;
    int ErrorStatus() override { return m_bError ? 1 : 0; }
    int SeekTo(uint32_t pos) override;
    int GetPos(uint32_t* pPos) override;
    int GetLen(uint32_t* pLen) override;
    // Lack of memory is a failure that doesn't set the error status.
    int Write(const void* pData, uint32_t size) override;

    // While it is held nothing is given back: what was read can be read again.
    void Hold(bool bHeld) { m_bHeld = bHeld; }

    // How many blocks are in memory.
    uint32_t NumBlocks() const;

private:
    struct Block
    {
        uint8_t* m_pData; // null once given back
        bool m_bStays;
    };

    bool AddBlocks(uint32_t length);
    void PassBlock(uint32_t iBlock);

    DynArray<Block, DefaultCache> m_Blocks = DynArray<Block, DefaultCache>(256);
    uint32_t m_Length = 0;
    uint32_t m_Pos = 0;
    uint32_t m_RunStart = 0; // where the reads up to m_Pos began
    bool m_bHeld = false;
    bool m_bError = false;
};

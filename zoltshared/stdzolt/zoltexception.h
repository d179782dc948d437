#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// The code of the last exception that was made: 0 for a plain one, 10 for one of input or output.
extern int g_ZoltErrorCode;

class CZoltException
{
public:
    CZoltException();
};

class CZoltIOException : public CZoltException
{
public:
    enum
    {
        WRITE = 0,
        READ = 1,
        SEEK = 2
    };

    explicit CZoltIOException(int type);

    int m_Type;
};

ZOLT_END_NAMESPACE

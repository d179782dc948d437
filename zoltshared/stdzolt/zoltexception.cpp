#include "zoltshared/stdzolt/zoltexception.h"

ZOLT_BEGIN_NAMESPACE

int g_ZoltErrorCode = 0;

CZoltException::CZoltException()
{
    g_ZoltErrorCode = 0;
}

CZoltIOException::CZoltIOException(int type) : m_Type(type)
{
    g_ZoltErrorCode = 10;
}

ZOLT_END_NAMESPACE

#include "zoltshared/stdzolt/zoltexception.h"

int g_ZoltErrorCode = 0;

CZoltException::CZoltException()
{
    g_ZoltErrorCode = 0;
}

CZoltIOException::CZoltIOException(int type) : m_Type(type)
{
    g_ZoltErrorCode = 10;
}

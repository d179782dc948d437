#include "fuzz/require.h"

#include "zoltshared/stdzolt/assertion.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

void ReportBrokenPromise(const char* pPromise, const char* pFile, int line)
{
    fprintf(stderr, "%s:%d: doesn't hold: %s\n", pFile, line, pPromise);
    abort();
}

static void EndUnlessInput(const char* pExpression, const char* pFile, int line)
{
    for (const char* pAllowed : {"pInfo->m_pModel != this", "nPath < MAX_NODE_PATH"})
        if (strcmp(pExpression, pAllowed) == 0)
            return;
    ReportBrokenPromise(pExpression, pFile, line);
}

StrictAssertions::StrictAssertions() : m_pOld(SetAssertionSink(EndUnlessInput)) {}

StrictAssertions::~StrictAssertions()
{
    SetAssertionSink(m_pOld);
}

#include "zoltshared/stdzolt/emptystring.h"

ZOLT_BEGIN_NAMESPACE

char g_EmptyString[1] = {0};

ZOLT_END_NAMESPACE

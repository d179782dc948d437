#include "zoltshared/stdzolt/emptystring.h"

char g_EmptyString[1] = {0};

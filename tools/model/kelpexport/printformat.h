#pragma once

// Lets the compiler hold the arguments of a printf-style function against its format, which is argument number
// `iFormat`; the first one behind it is number `iFirst`.
#ifdef __GNUC__
#define ZOLT_PRINTF_FORMAT(iFormat, iFirst) __attribute__((format(printf, iFormat, iFirst)))
#else
#define ZOLT_PRINTF_FORMAT(iFormat, iFirst)
#endif

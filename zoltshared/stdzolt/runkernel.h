#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <utility>

// Where a processor may or may not have AVX, and code for it can be compiled beside the other.
#if defined(__x86_64__) && defined(__linux__) && defined(__GNUC__) && !defined(__clang__) && !defined(ZOLT_PLAIN_FLOAT4)
#define ZOLT_HAS_AVX_KERNELS 1
#if __has_include(<sys/platform/x86.h>)
#include <sys/platform/x86.h>
#endif
#else
#define ZOLT_HAS_AVX_KERNELS 0
#endif

#if ZOLT_HAS_AVX_KERNELS

// Ahead of a function that works on Float8s, and that is called only where HasAvx says so.
#define ZOLT_AVX [[gnu::target("avx")]]

ZOLT_BEGIN_NAMESPACE

inline bool AskForAvx()
{
#ifdef CPU_FEATURE_ACTIVE
    // The C library has asked the processor. Asking again, as the compiler's own way does for each program and each
    // library, takes some thirty microseconds on a virtual machine.
    return CPU_FEATURE_ACTIVE(AVX);
#else
    return __builtin_cpu_supports("avx") != 0;
#endif
}

inline const bool g_bHasAvx = AskForAvx();

// False before the statics of the source file are made; both ways give the same bits.
inline bool HasAvx()
{
    return g_bHasAvx;
}

template <auto KERNEL, typename... Args> [[gnu::target("avx"), gnu::flatten]] auto RunWithAvx(Args&&... args)
{
    return KERNEL(std::forward<Args>(args)...);
}

ZOLT_END_NAMESPACE

#endif

ZOLT_BEGIN_NAMESPACE

// Runs a function that works on vectors in loops. It is compiled a second time with the shorter instructions of AVX,
// without fused products, so that it gives the same bits; all that it calls and that isn't marked otherwise becomes
// part of it.
template <auto KERNEL, typename... Args> inline auto RunKernel(Args&&... args)
{
#if ZOLT_HAS_AVX_KERNELS
    if (HasAvx())
        return RunWithAvx<KERNEL>(std::forward<Args>(args)...);
#endif
    return KERNEL(std::forward<Args>(args)...);
}

ZOLT_END_NAMESPACE

#pragma once

// All names of the run-time library stand between these two. With ZOLT_INLINE_NAMESPACE, a name, they are in an inline
// namespace of that name: sources don't see the difference, but the linker does, and a program can hold another library
// with a Matrix4 of its own, or this one twice. Whoever includes a header of the library needs the same setting; the
// installed packages bring it along.
#ifdef ZOLT_INLINE_NAMESPACE
#define ZOLT_BEGIN_NAMESPACE                                                                                           \
    inline namespace ZOLT_INLINE_NAMESPACE                                                                             \
    {
#define ZOLT_END_NAMESPACE }
#else
#define ZOLT_BEGIN_NAMESPACE
#define ZOLT_END_NAMESPACE
#endif

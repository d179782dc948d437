#pragma once

#include <cstdint>

// What the host calls. Not re-entrant.
#ifdef _WIN32
#define ZOLT_EXPORTED __declspec(dllexport)
#else
#define ZOLT_EXPORTED __attribute__((visibility("default")))
#endif

constexpr int32_t EXPORT_WRITTEN = 0;
constexpr int32_t EXPORT_NOT_WRITTEN = 124; // failures and the user's cancels; the old file is as it was

extern "C"
{
    // One whole export of the host's current scene: EXPORT_WRITTEN or EXPORT_NOT_WRITTEN.
    ZOLT_EXPORTED int32_t init();
    // Nothing is left to clean up. Returns 0.
    ZOLT_EXPORTED int32_t cleanup();
}

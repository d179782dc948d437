#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class Model;
class ModelStream;
struct LoadRequest;

// Results of Load and of a callback.
enum : uint32_t
{
    RESULT_OK = 0,
    RESULT_ERROR = 1,               // a missing section, a bad version, bad data, a failed read, memory
    RESULT_INVALID_PARAMS = 60,     // no stream, or child models asked for without a callback
    RESULT_OUT_OF_MEMORY = 67,      // the block of PrepareBlock couldn't be had
    RESULT_NOT_LOADED = 70,         // from a callback: no child model, and that is acceptable
    RESULT_INVALID_MODEL_FILE = 77, // the header can't be used, or a child model has child models of its own
};

// Supplies the child model that pChildRequest->m_pFilename names: sets *ppModel or leaves it null. The model stays the
// callback's to own; the load adds a counted reference. The request has no stream.
typedef uint32_t (*ModelLoadCallback)(LoadRequest* pChildRequest, Model** ppModel);

// Supplies nothing.
uint32_t DefaultLoadCallback(LoadRequest* pChildRequest, Model** ppModel);

// Room for every text of m_pErrorText, terminator included.
constexpr uint32_t LOAD_ERROR_TEXT_SIZE = 512;

// What Model::Load needs, and its answers besides the result.
struct LoadRequest
{
    ModelStream* m_pStream = nullptr; // at any position; stays the caller's
    ModelLoadCallback m_pLoadCallback = DefaultLoadCallback;
    void* m_pUser = nullptr;            // passed on to the callback inside the child's request
    const char* m_pFilename = nullptr;  // only in a child's request
    QZBOOL m_bLoadChildModels = QZTRUE; // false: the callback isn't called
    QZBOOL m_bReserved = QZTRUE;        // not used
    QZBOOL m_bBindingsValid = QZTRUE;   // out: cleared when a child no longer fits the stored bindings
    QZBOOL m_bChildrenLoaded = QZTRUE;  // out: cleared when a child couldn't be had
    // The caller's room for an English text, or null. After a load that failed it says what was wrong, in which section
    // and at which byte of the stream: "Pieces: triangle corner 7 of 12 points at vertex 900 of 290, at byte 4,211";
    // after any other it is empty. Cut to fit.
    char* m_pErrorText = nullptr;
    uint32_t m_ErrorTextSize = 0; // bytes of m_pErrorText
};

ZOLT_END_NAMESPACE

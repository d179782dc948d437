#pragma once

#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class Model;
class ModelStream;

constexpr uint32_t WEIGHTSET_NAME_SIZE = 16;

// How strongly a layered animation position applies to each node: 0.0 not at all, exactly 2.0 adds the motion on top,
// anything else blends.
class WeightSet
{
public:
    ZOLT_ALLOCATED_NEW

    explicit WeightSet(Model* pModel);
    ~WeightSet();
    WeightSet(const WeightSet&) = delete;
    WeightSet& operator=(const WeightSet&) = delete;

    // Keeps at most 15 characters.
    void SetName(const char* pName);
    const char* GetName() const { return m_Name; }
    // One weight for each node of the model, which must be precalculated, all 0.0. False without memory.
    QZBOOL Init();
    // Gives the set one weight for each node: 0.0 where it lacks some; what it has beyond is dropped. False, with the
    // set as it was, without memory.
    QZBOOL FitToNodes();

    // Reads name and values, of which one for each node is kept; false if the file has fewer, or without memory.
    QZBOOL Load(ModelStream* pStream);
    QZBOOL Save(ModelStream* pStream); // tool side; writes one value for each node, as FitToNodes would leave them

    char m_Name[WEIGHTSET_NAME_SIZE] = {};
    DynArray<float, DefaultCache> m_Weights; // by node index
    Model* m_pModel;
};

ZOLT_END_NAMESPACE

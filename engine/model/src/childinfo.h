#pragma once

#include "engine/model/src/nodekeyframe.h"
#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/emptystring.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class Model;
class ModelStream;

// A link to a model whose animations are borrowed. Link 0 of a model is the model itself. A link to another model
// holds one counted reference on it.
class ChildInfo
{
public:
    ZOLT_ALLOCATED_NEW

    ChildInfo() = default;
    ~ChildInfo();
    ChildInfo(const ChildInfo&) = delete;
    ChildInfo& operator=(const ChildInfo&) = delete;

    // Forgets model and name and frees the relations through the parent model's allocator. The reference on the model
    // is the caller's business.
    void Clear();

    // Reads stamp and relations, one for each node of m_pParentModel, which must be set and precalculated. False
    // without that, without memory, or if the stream is too short.
    QZBOOL Load(ModelStream* pStream);
    QZBOOL Save(ModelStream* pStream); // tool side

    DynArray<NodeKeyFrame, DefaultCache>
        m_Relations;                     // by node index of the parent model; a missing one is the identity
    uint32_t m_iAnimOffset = 0;          // row of the parent's m_Anims at which this link's rows begin
    const char* m_pName = g_EmptyString; // file name, in the parent's string store
    uint32_t m_Stamp = 0;                // link 0: the model's own stamp; others: the child's stamp when last bound
    Model* m_pParentModel = nullptr;     // the model that holds the link
    Model* m_pModel = nullptr;           // the linked model; may stay null
    QZBOOL m_bTreeMatches = QZTRUE;      // result of the tree comparison at load
};

ZOLT_END_NAMESPACE

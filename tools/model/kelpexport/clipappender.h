#pragma once

#include "tools/model/convmodel.h"
#include "zoltshared/stdzolt/ownedstring.h"

// Further animations for a model file that is kept in memory meanwhile: what runs of `init` that append would make of
// it, byte by byte, with one load and one save for all of them. Messages and the log are those of such runs; the meshes
// of the scenes aren't read, since nothing of them would go into the file.
class ClipAppender
{
public:
    // pFilename is the file, pShownName what it is called in messages. With bDebug, calls of the scene library that
    // fail are shown. Each step returns false after a message of its own.
    QZBOOL Load(const char* pFilename, const char* pShownName, QZBOOL bDebug);
    // Adds the host's current scene as an animation of that name, or with a number behind it if there is one already.
    QZBOOL Add(const char* pAnimName);
    // Into a file, which may be the one that was loaded. It is the last step: the model is empty afterwards.
    QZBOOL Save(const char* pFilename);

    ConvModel& GetModel() { return m_Model; }
    // The animation that was added last, if any animation is the model's own: row CalcNumOwnAnims() - 1.
    ModelAnim* GetNewest() const;

private:
    QZBOOL AddScene(const char* pAnimName);

    ConvModel m_Model;
    OwnedString m_ShownName;
    uint32_t m_nAdded = 0;
};

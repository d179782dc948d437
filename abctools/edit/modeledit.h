#pragma once

#include "tools/model/convmodel.h"

#include <functional>
#include <string>
#include <vector>

// A model that operations work on one after the other, and what they say about it. Texts are sentences, or the end of
// one about the model's file, without a full stop; names stand in them as in the model.
class ModelEdit
{
public:
    // Child models are named as seen from this folder, where the model will be.
    explicit ModelEdit(std::string folder) : m_Folder(std::move(folder)) {}

    // What goes by a name, ignoring case, or null with m_Error set. Nodes and pieces that share a name, or have none,
    // go by "#INDEX" as well. The index may be null.
    ModelNode* FindNode(const std::string& name);
    ModelPiece* FindPiece(const std::string& name, uint32_t* piPiece);
    ModelSocket* FindSocket(const std::string& name, uint32_t* piSocket);
    WeightSet* FindWeightSet(const std::string& name, uint32_t* piSet);
    AnimInfo* FindAnim(const std::string& name, uint32_t* piAnim); // a child model's too
    ModelAnim* FindOwnAnim(const std::string& name, uint32_t* piAnim);

    // Whether a thing can get that name: it isn't empty, has no more than maxLength bytes, and isn't taken by another
    // (pTaken is what has it, or null; pSelf what is going to).
    bool IsNewName(const char* pKind, const std::string& name, size_t maxLength, const void* pTaken,
                   const void* pSelf = nullptr);
    // Whether a text of the string store keeps all of its characters.
    bool IsStorable(const std::string& text);

    bool Fail(std::string error); // always false
    bool Say(std::string change); // always true
    void Warn(std::string warning) { m_Warnings.push_back(std::move(warning)); }

    ConvModel m_Model;
    const std::string m_Folder;
    bool m_bCommandEdited = false; // the command string was
    std::vector<std::string> m_Changes;
    std::vector<std::string> m_Warnings;
    std::string m_Error;
    std::function<void(size_t nDone, size_t nAll)> m_Progress = [](size_t, size_t) {}; // of the operation at hand
};

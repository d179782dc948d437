#include "abctools/edit/modeledit.h"

#include <charconv>

// The index of "#INDEX", or one that nothing has.
static uint32_t IndexOf(const std::string& name)
{
    uint32_t index = UINT32_MAX;
    if (name.size() < 2 || name[0] != '#')
        return index;
    const char* pEnd = name.data() + name.size();
    const auto [pParsed, problem] = std::from_chars(name.data() + 1, pEnd, index);
    return problem == std::errc() && pParsed == pEnd ? index : UINT32_MAX;
}

bool ModelEdit::Fail(std::string error)
{
    m_Error = std::move(error);
    return false;
}

bool ModelEdit::Say(std::string change)
{
    m_Changes.push_back(std::move(change));
    return true;
}

ModelNode* ModelEdit::FindNode(const std::string& name)
{
    ModelNode* pNode = m_Model.FindNode(name.c_str(), nullptr);
    if (!pNode && IndexOf(name) < m_Model.NumNodes())
        pNode = m_Model.GetNode(IndexOf(name));
    if (!pNode)
        Fail("it has no node " + name);
    return pNode;
}

ModelPiece* ModelEdit::FindPiece(const std::string& name, uint32_t* piPiece)
{
    ModelPiece* pPiece = m_Model.FindPiece(name.c_str(), piPiece);
    if (!pPiece && IndexOf(name) < m_Model.NumPieces())
    {
        pPiece = m_Model.GetPiece(IndexOf(name));
        if (piPiece)
            *piPiece = IndexOf(name);
    }
    if (!pPiece)
        Fail("it has no piece " + name);
    return pPiece;
}

ModelSocket* ModelEdit::FindSocket(const std::string& name, uint32_t* piSocket)
{
    ModelSocket* pSocket = m_Model.FindSocket(name.c_str(), piSocket);
    if (!pSocket)
        Fail("it has no socket " + name);
    return pSocket;
}

WeightSet* ModelEdit::FindWeightSet(const std::string& name, uint32_t* piSet)
{
    WeightSet* pSet = m_Model.FindWeightSet(name.c_str(), piSet);
    if (!pSet)
        Fail("it has no weight set " + name);
    return pSet;
}

AnimInfo* ModelEdit::FindAnim(const std::string& name, uint32_t* piAnim)
{
    AnimInfo* pInfo = nullptr;
    if (!m_Model.FindAnim(name.c_str(), piAnim, &pInfo))
        Fail("it has no animation " + name);
    return pInfo;
}

ModelAnim* ModelEdit::FindOwnAnim(const std::string& name, uint32_t* piAnim)
{
    const AnimInfo* pInfo = FindAnim(name, piAnim);
    if (!pInfo)
        return nullptr;
    if (!m_Model.IsOwn(*pInfo))
    {
        Fail("the animation " + name + " is a child model's");
        return nullptr;
    }
    return pInfo->m_pAnim;
}

bool ModelEdit::IsNewName(const char* pKind, const std::string& name, size_t maxLength, const void* pTaken,
                          const void* pSelf)
{
    if (name.empty())
        return Fail("an empty text is no name");
    if (name.size() > maxLength)
        return Fail("the name " + name + " is too long: it can have " + std::to_string(maxLength) + " bytes");
    if (pTaken && pTaken != pSelf)
        return Fail("the name " + name + " is another " + pKind + "'s");
    return true;
}

bool ModelEdit::IsStorable(const std::string& text)
{
    if (text.size() < MODEL_STRING_BUFFER)
        return true;
    return Fail("the text would have " + std::to_string(text.size()) + " bytes, and a load keeps " +
                std::to_string(MODEL_STRING_BUFFER - 1));
}

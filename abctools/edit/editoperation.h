// The operations of an edit as data: the options of the command, the words of an operation file and its JSON form are
// all made from one table.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

class ModelEdit;

// The values of an operation, as many as its m_pValues has words and checked by CheckEditValues.
class EditValues
{
public:
    explicit EditValues(std::vector<std::string> texts) : m_Texts(std::move(texts)) {}

    const std::string& operator[](size_t i) const { return m_Texts[i]; }
    double Number(size_t i) const;
    float Float(size_t i) const { return static_cast<float>(Number(i)); }
    uint32_t Count(size_t i) const;
    size_t Size() const { return m_Texts.size(); }

private:
    std::vector<std::string> m_Texts;
};

struct EditOperation
{
    const char* m_pName; // "rename-anim"
    // "OLD NEW". X, Y, Z, RX, RY, RZ, VALUE, TOLERANCE, RATIO and DISTANCE are finite numbers, KEY, PLACE, TEXTURE,
    // LOD, FROM and TO whole ones from 0 up, anything else is text.
    const char* m_pValues;
    const char* m_pHelp; // without a full stop
    // Says in `edit` what it did; or returns false with the reason in its m_Error, and the model as it may be.
    bool (*m_pRun)(ModelEdit& edit, const EditValues& values);
};

// One operation to carry out.
struct EditStep
{
    const EditOperation* m_pOperation;
    EditValues m_Values;

    std::string Text() const; // "rename-anim walk stride"
};

// All operations in the order of the help.
const std::vector<EditOperation>& EditOperations();
// Null for a name that isn't there.
const EditOperation* FindEditOperation(const std::string& name);
// The words of m_pValues.
std::vector<std::string> EditValueNames(const EditOperation& operation);
// What is wrong with values in number or kind, as a sentence without a full stop that begins with a verb; or empty.
std::string CheckEditValues(const EditOperation& operation, const std::vector<std::string>& values);

// The operations by what they work on, each in a file of its name.
std::span<const EditOperation> EditCommandOperations();
std::span<const EditOperation> EditSocketOperations();
std::span<const EditOperation> EditWeightSetOperations();
std::span<const EditOperation> EditChildOperations();
std::span<const EditOperation> EditAnimOperations();
std::span<const EditOperation> EditNodeOperations();
std::span<const EditOperation> EditPieceOperations();
std::span<const EditOperation> EditLodOperations();

#include "abctools/edit/editoperation.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <sstream>

enum class EditValueKind
{
    Text,
    Number,
    Count
};

static EditValueKind KindOf(const std::string& name)
{
    static const char* const NUMBERS[] = {"X", "Y", "Z", "RX", "RY", "RZ", "VALUE", "TOLERANCE", "RATIO", "DISTANCE"};
    static const char* const COUNTS[] = {"KEY", "PLACE", "TEXTURE", "LOD", "FROM", "TO"};
    if (std::find(std::begin(NUMBERS), std::end(NUMBERS), name) != std::end(NUMBERS))
        return EditValueKind::Number;
    return std::find(std::begin(COUNTS), std::end(COUNTS), name) != std::end(COUNTS) ? EditValueKind::Count
                                                                                     : EditValueKind::Text;
}

template <typename T> static bool ParseWhole(const std::string& text, T& number)
{
    const char* pEnd = text.data() + text.size();
    const auto [pParsed, problem] = std::from_chars(text.data(), pEnd, number);
    return problem == std::errc() && pParsed == pEnd;
}

double EditValues::Number(size_t i) const
{
    double number = 0.0;
    ParseWhole(m_Texts[i], number);
    return number;
}

uint32_t EditValues::Count(size_t i) const
{
    uint32_t count = 0;
    ParseWhole(m_Texts[i], count);
    return count;
}

std::string EditStep::Text() const
{
    std::string text = m_pOperation->m_pName;
    for (size_t i = 0; i < m_Values.Size(); ++i)
        text += " " + m_Values[i];
    return text;
}

const std::vector<EditOperation>& EditOperations()
{
    static const std::vector<EditOperation> all = []
    {
        std::vector<EditOperation> list;
        for (const auto part :
             {EditCommandOperations(), EditSocketOperations(), EditWeightSetOperations(), EditChildOperations(),
              EditAnimOperations(), EditNodeOperations(), EditPieceOperations(), EditLodOperations()})
            list.insert(list.end(), part.begin(), part.end());
        return list;
    }();
    return all;
}

const EditOperation* FindEditOperation(const std::string& name)
{
    for (const EditOperation& operation : EditOperations())
    {
        if (name == operation.m_pName)
            return &operation;
    }
    return nullptr;
}

std::vector<std::string> EditValueNames(const EditOperation& operation)
{
    std::istringstream names(operation.m_pValues);
    return {std::istream_iterator<std::string>(names), {}};
}

std::string CheckEditValues(const EditOperation& operation, const std::vector<std::string>& values)
{
    const std::vector<std::string> names = EditValueNames(operation);
    if (values.size() != names.size())
        return "needs " + std::string(operation.m_pValues) + ", which " + (names.size() == 1 ? "is 1 value" : "are ") +
               (names.size() == 1 ? "" : std::to_string(names.size()) + " values") + ", not " +
               std::to_string(values.size());
    for (size_t i = 0; i < names.size(); ++i)
    {
        double number = 0.0;
        uint32_t count = 0;
        const EditValueKind kind = KindOf(names[i]);
        // What overflows a float would be infinite in the model.
        if (kind == EditValueKind::Number &&
            !(ParseWhole(values[i], number) && std::isfinite(static_cast<float>(number))))
            return "needs a finite number for " + names[i] + ", not " + values[i];
        if (kind == EditValueKind::Count && !ParseWhole(values[i], count))
            return "needs a whole number from 0 up for " + names[i] + ", not " + values[i];
    }
    return std::string();
}

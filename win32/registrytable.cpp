#include "win32/registrytable.h"

#include <algorithm>

static unsigned char FoldCase(char c)
{
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

bool RegistryTable::Less::operator()(const std::string& a, const std::string& b) const
{
    // Keys have long beginnings in common, most often in the same case.
    const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(),
                                          [](char c, char d) { return c == d || FoldCase(c) == FoldCase(d); });
    return inB != b.end() && (inA == a.end() || FoldCase(*inA) < FoldCase(*inB));
}

bool RegistryTable::Less::operator()(const std::pair<std::string, std::string>& a,
                                     const std::pair<std::string, std::string>& b) const
{
    return (*this)(a.first, b.first) || (!(*this)(b.first, a.first) && (*this)(a.second, b.second));
}

void RegistryTable::AddKey(const std::string& key)
{
    for (std::size_t end = key.find('\\'); end != std::string::npos; end = key.find('\\', end + 1))
        m_Keys.insert(key.substr(0, end));
    m_Keys.insert(key);
}

const RegistryValue* RegistryTable::FindValue(const std::string& key, const std::string& name) const
{
    const auto found = m_Values.find({key, name});
    return found != m_Values.end() ? &found->second : nullptr;
}

void RegistryTable::SetValue(const std::string& key, const std::string& name, RegistryValue value)
{
    m_Values[{key, name}] = std::move(value);
}

void RegistryTable::Clear()
{
    m_Keys.clear();
    m_Values.clear();
}

// Keys and values as they stand in memory: of a store that has no file, and of a file as it was read last. Paths and
// names are equal if they differ in the case of ASCII letters only.
#pragma once

#include "win32/registrydatabase.h"

#include <map>
#include <set>
#include <string>
#include <utility>

class RegistryTable
{
public:
    bool HasKey(const std::string& key) const { return m_Keys.count(key) != 0; }
    // With the keys above it.
    void AddKey(const std::string& key);
    // Null when there is no such value. Valid until the value is set again.
    const RegistryValue* FindValue(const std::string& key, const std::string& name) const;
    void SetValue(const std::string& key, const std::string& name, RegistryValue value);
    void Clear();

private:
    struct Less
    {
        bool operator()(const std::string& a, const std::string& b) const;
        bool operator()(const std::pair<std::string, std::string>& a,
                        const std::pair<std::string, std::string>& b) const;
    };

    std::set<std::string, Less> m_Keys;
    std::map<std::pair<std::string, std::string>, RegistryValue, Less> m_Values; // by key and name
};

// The registry's keys and values in the database of registrystore.h. A key is its whole path, from the root's name on,
// with single backslashes: "HKEY_LOCAL_MACHINE\Software". Results are the registry's error codes.
#pragma once

#include "win32/zoltwin32.h"

#include <string>
#include <vector>

struct RegistryValue
{
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

// ERROR_FILE_NOT_FOUND when there is no such key.
LONG FindRegistryKey(const std::string& key);

// Makes the key and those above it; `created` tells whether it is new.
LONG CreateRegistryKey(const std::string& key, bool& created);

// ERROR_FILE_NOT_FOUND when there is no such value.
LONG ReadRegistryValue(const std::string& key, const std::string& name, RegistryValue& value);

// Sets or replaces a value, and makes the key if it isn't there.
LONG WriteRegistryValue(const std::string& key, const std::string& name, const RegistryValue& value);

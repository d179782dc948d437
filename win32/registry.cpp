// The registry calls of zoltwin32.h: handles, arguments and sizes. What is stored is in registrydatabase.h.
#include "win32/registrydatabase.h"

#include <cstring>
#include <map>

namespace
{

struct OpenKey
{
    std::string path;
    REGSAM access;
};

} // namespace

static const size_t MAX_KEY_NAME = 255;

static std::map<UINT_PTR, OpenKey> s_OpenKeys;
static UINT_PTR s_NextKey = 4; // counted up by 4 and never used again, so that no handle meets a predefined one

static bool LookUp(HKEY key, OpenKey& open)
{
    if (key == HKEY_LOCAL_MACHINE)
    {
        open = {"HKEY_LOCAL_MACHINE", KEY_READ | KEY_WRITE};
        return true;
    }
    const auto found = s_OpenKeys.find(reinterpret_cast<UINT_PTR>(key));
    if (found == s_OpenKeys.end())
        return false;
    open = found->second;
    return true;
}

// Appends the components of a sub-key; empty ones (doubled backslashes or one at the end) don't count.
static bool AppendSubKey(std::string& path, const char* subKey)
{
    while (*subKey)
    {
        const size_t length = std::strcspn(subKey, "\\");
        if (length > MAX_KEY_NAME)
            return false;
        if (length > 0)
            path.append("\\").append(subKey, length);
        subKey += length + (subKey[length] ? 1 : 0);
    }
    return true;
}

extern "C" LSTATUS WINAPI RegCreateKeyExA(HKEY key, LPCSTR subKey, DWORD reserved, LPSTR, DWORD options, REGSAM access,
                                          LPSECURITY_ATTRIBUTES, PHKEY result, LPDWORD disposition)
{
    OpenKey open;
    if (!LookUp(key, open))
        return ERROR_INVALID_HANDLE;
    if (!subKey || reserved != 0 || options != REG_OPTION_NON_VOLATILE || !result || !AppendSubKey(open.path, subKey))
        return ERROR_INVALID_PARAMETER;
    // Looked up first: a key that is there can be had without the right to write, and without waiting for a writer.
    bool created = false;
    LONG status = FindRegistryKey(open.path);
    if (status == ERROR_FILE_NOT_FOUND)
        status = CreateRegistryKey(open.path, created);
    if (status != ERROR_SUCCESS)
        return status;
    open.access = access;
    s_OpenKeys[s_NextKey] = open;
    *result = reinterpret_cast<HKEY>(s_NextKey); // NOLINT(performance-no-int-to-ptr): a handle is a number
    s_NextKey += 4;
    if (disposition)
        *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
}

extern "C" LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                           LPDWORD size)
{
    OpenKey open;
    if (!LookUp(key, open))
        return ERROR_INVALID_HANDLE;
    if (reserved || (data && !size))
        return ERROR_INVALID_PARAMETER;
    if ((open.access & KEY_QUERY_VALUE) == 0)
        return ERROR_ACCESS_DENIED;
    RegistryValue value;
    const LONG status = ReadRegistryValue(open.path, valueName ? valueName : "", value);
    if (status != ERROR_SUCCESS)
        return status;
    if (type)
        *type = value.type;
    const DWORD room = size ? *size : 0;
    if (size)
        *size = static_cast<DWORD>(value.data.size());
    if (data && room < value.data.size())
        return ERROR_MORE_DATA;
    if (data && !value.data.empty())
        std::memcpy(data, value.data.data(), value.data.size());
    return ERROR_SUCCESS;
}

extern "C" LSTATUS WINAPI RegSetValueExA(HKEY key, LPCSTR valueName, DWORD reserved, DWORD type, const BYTE* data,
                                         DWORD size)
{
    OpenKey open;
    if (!LookUp(key, open))
        return ERROR_INVALID_HANDLE;
    if (reserved != 0 || (!data && size > 0))
        return ERROR_INVALID_PARAMETER;
    if ((open.access & KEY_SET_VALUE) == 0)
        return ERROR_ACCESS_DENIED;
    RegistryValue value;
    value.type = type;
    if (size > 0)
        value.data.assign(data, data + size);
    return WriteRegistryValue(open.path, valueName ? valueName : "", value);
}

extern "C" LSTATUS WINAPI RegCloseKey(HKEY key)
{
    if (key == HKEY_LOCAL_MACHINE)
        return ERROR_SUCCESS;
    return s_OpenKeys.erase(reinterpret_cast<UINT_PTR>(key)) == 1 ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

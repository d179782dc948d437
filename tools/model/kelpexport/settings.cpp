#include "tools/model/kelpexport/settings.h"

#include <cstring>

static OwnedString s_Application;
static OwnedString s_Version;

void SetSettingsPath(const char* pApplication, const char* pVersion)
{
    s_Application.Set(pApplication);
    s_Version.Set(pVersion);
}

HKEY OpenSettingsKey()
{
    const char* const components[] = {"Software", "Varnish Hill Studios", s_Application.GetString(),
                                      s_Version.GetString()};
    if (!*s_Application.GetString() || !*s_Version.GetString())
        return nullptr; // no path, for want of memory
    HKEY key = HKEY_LOCAL_MACHINE;
    for (const char* pComponent : components)
    {
        HKEY child = nullptr;
        DWORD disposition = 0;
        char noClass[1] = "";
        const LSTATUS status = RegCreateKeyExA(key, pComponent, 0, noClass, REG_OPTION_NON_VOLATILE,
                                               KEY_READ | KEY_WRITE, nullptr, &child, &disposition);
        if (key != HKEY_LOCAL_MACHINE)
            RegCloseKey(key);
        if (status != ERROR_SUCCESS)
            return nullptr;
        key = child;
    }
    return key;
}

QZBOOL ReadSettingRaw(const char* pName, char* pBuffer, unsigned bufferSize)
{
    if (bufferSize == 0)
        return QZFALSE;
    std::memset(pBuffer, 0, bufferSize);
    HKEY key = OpenSettingsKey();
    if (!key)
        return QZFALSE;
    DWORD type = REG_NONE;
    DWORD size = bufferSize;
    const LSTATUS status = RegQueryValueExA(key, pName, nullptr, &type, reinterpret_cast<LPBYTE>(pBuffer), &size);
    RegCloseKey(key);
    // Whoever wrote the value may have left the terminator out.
    if (status == ERROR_SUCCESS && type == REG_SZ && pBuffer[bufferSize - 1] == 0)
        return QZTRUE;
    pBuffer[0] = 0;
    return QZFALSE;
}

QZBOOL ReadSetting(const char* pName, OwnedString& value)
{
    char buffer[1024];
    const QZBOOL bRead = ReadSettingRaw(pName, buffer, sizeof(buffer));
    value.Set(bRead ? buffer : "");
    return bRead;
}

QZBOOL WriteSetting(const char* pName, const char* pText)
{
    HKEY key = OpenSettingsKey();
    if (!key)
        return QZFALSE;
    const LSTATUS status = RegSetValueExA(key, pName, 0, REG_SZ, reinterpret_cast<const BYTE*>(pText),
                                          static_cast<DWORD>(std::strlen(pText) + 1));
    RegCloseKey(key);
    return status == ERROR_SUCCESS ? QZTRUE : QZFALSE;
}

#pragma once

#include "zoltshared/stdzolt/ownedstring.h"
#include "zoltshared/stdzolt/qzbool.h"

#include "win32/zoltwin32.h"

// Texts by name that outlive a run, kept in the registry under
// HKEY_LOCAL_MACHINE\Software\Varnish Hill Studios\<application>\<version>.

// Comes first: without application and version no key can be opened.
void SetSettingsPath(const char* pApplication, const char* pVersion);

// Opens the key, which is created if need be. Null on failure. The caller closes it with RegCloseKey.
HKEY OpenSettingsKey();
// Reads a text into a buffer of so many bytes, terminator included; QZFALSE, and an empty text, if there is no value of
// that name, if it is no text, or if it doesn't fit.
QZBOOL ReadSettingRaw(const char* pName, char* pBuffer, unsigned bufferSize);
// The same into a string, for texts of up to 1023 characters.
QZBOOL ReadSetting(const char* pName, OwnedString& value);
// QZFALSE if the store refuses the value.
QZBOOL WriteSetting(const char* pName, const char* pText);

#pragma once

// Compares as strcmp does, with the letters A to Z taken for a to z, whatever the locale.
int CompareNoCase(const char* pA, const char* pB);

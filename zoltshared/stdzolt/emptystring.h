#pragma once

// What a text pointer that holds nothing points at. Never written, never freed.
extern char g_EmptyString[1];

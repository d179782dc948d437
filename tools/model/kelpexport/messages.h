#pragma once

#include "zoltshared/stdzolt/debugprintf.h"

// What the user sees beside the dialog. All of it goes into the log too. Names go in as arguments of %s.

enum
{
    MESSAGE_OK = 0,    // an OK box
    MESSAGE_YESNO = 1, // a Yes/No box
};

enum
{
    ANSWER_OK = 0,
    ANSWER_YES = 1,
    ANSWER_OTHER = 2, // No, or the box was closed in another way
};

// Shows a message box (bYesNo is a MESSAGE_) and returns the answer (an ANSWER_). A text is cut to 1023 characters; the
// log gets it without a line end.
int ShowMessage(int bYesNo, const char* pFormat, ...) ZOLT_PRINTF_FORMAT(2, 3);
void ShowOutOfMemory();
// Shows a text in the host's status bar, and with bLog writes it into the log. A text is cut to 4095 characters.
void SetStatus(int bLog, const char* pFormat, ...) ZOLT_PRINTF_FORMAT(2, 3);

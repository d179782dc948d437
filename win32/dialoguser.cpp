#include "win32/dialoguser.h"

static DialogUser* s_User = nullptr;

DialogUser* SetDialogUser(DialogUser* user)
{
    return std::exchange(s_User, user);
}

DialogUser* GetDialogUser()
{
    return s_User;
}

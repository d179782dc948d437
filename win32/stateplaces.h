// Where a run leaves what isn't a result: the log.
#pragma once

#include <string>

// The folder for the program's state, $XDG_STATE_HOME/zoltexport, else ~/.local/state/zoltexport; created if it isn't
// there. Empty when there is no home folder or the folder can't be made.
std::string StateFolder();

// Says where the log goes. Null goes back to the default, KE_Error.log in StateFolder(); an empty path means no log.
void SetLogPath(const char* path);

// The path of the log; empty when there is no place for one. Valid until the next call of either function.
const char* GetLogPath();

// Where the registry of the stand-in lives: an SQLite database that processes may share.
//
// As long as nobody else has touched the file, it stays open from one call to the next and what was read of it is
// remembered; a value that it holds already isn't written again. A missing file is an empty
// registry. A damaged file is moved aside to its name with ".damaged" behind it (in place of an earlier one), and a
// fresh store begun. A file that can't be read or written makes the calls return an error.
#pragma once

// Names the file; its folders are created when the store is first written. Null goes back to the default:
// $XDG_CONFIG_HOME/zoltexport/registry.db, else ~/.config/zoltexport/registry.db, else (no home folder) a store in
// memory. An empty path also means the store in memory, which lasts as long as the process. Returns the path that was
// set before, or null if the default held; it stays valid until the next call.
const char* SetRegistryFile(const char* path);

// The path in use now, empty for the store in memory. Valid until the next call of either function.
const char* GetRegistryFile();

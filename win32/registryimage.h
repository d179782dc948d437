// The registry's file read as it lies on the disk. SQLite opens a database and parses its schema and two statements
// before it gives out the first of a handful of values, which takes a twelfth of the export of a small scene.
#pragma once

#include "win32/registrytable.h"

#include <string>

// Fills an empty table with all that is in the file. False, with anything in the table, wherever there is more to it
// than a few pages that a database of this store consists of in the usual case: SQLite has to read it then, or say what
// is wrong. The file is locked as SQLite locks it for reading; the caller must not hold it open and locked elsewhere.
bool ReadRegistryImage(const std::string& file, RegistryTable& table);

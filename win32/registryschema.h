// The tables of the registry's file. NOCASE folds ASCII letters only.
#pragma once

// Stands in the file's user_version; 0 is a file in which nothing has been written yet.
inline constexpr int REGISTRY_SCHEMA_VERSION = 1;

#define REGISTRY_KEY_TABLE "registry_key(path TEXT PRIMARY KEY NOT NULL COLLATE NOCASE) WITHOUT ROWID"
#define REGISTRY_VALUE_TABLE                                                                                           \
    "registry_value(path TEXT NOT NULL COLLATE NOCASE, name TEXT NOT NULL COLLATE NOCASE,"                             \
    " type INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY(path, name)) WITHOUT ROWID"

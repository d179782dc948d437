// Copies of whole files.
#pragma once

#include <string>

// Copies a file into a new one, or over an old one. False if either can't be opened, read or written.
bool CopyFileBytes(const std::string& from, const std::string& to);

// Writes a finished file's bytes to `target` so that either the old file or the whole new one is there, whatever
// happens (ReplaceFileStream). False with a sentence in `error`; the target is then as it was.
bool PlaceFile(const std::string& from, const std::string& target, std::string& error);

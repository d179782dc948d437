// Operations out of files.
#pragma once

#include "abctools/edit/editoperation.h"

// One operation a line: its name and its values, parted as SplitWords does, '#' for comments. False with the end of a
// sentence about the file.
bool ReadOperationLines(const std::string& text, std::vector<EditStep>& steps, std::string& error);

// A JSON array of operations, each an array of its name and its values, ["rename-anim", "walk", "stride"], or an object
// with the value names of the help in small letters, {"operation": "rename-anim", "old": "walk", "new": "stride"}.
// Numbers may be numbers or text.
bool ReadOperationJson(const std::string& text, std::vector<EditStep>& steps, std::string& error);

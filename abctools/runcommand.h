#pragma once

#include "commandline/command.h"

// Runs a command whose options have been taken. One that was asked for JSON and fails without a document prints
// {"error": ...} to `out`, with the lines that `err` gets as well, each without its "error: ".
int RunCommand(const Command& command, bool bJson, std::ostream& out, std::ostream& err);

// Whether the words behind a program's name hold --json.
bool AsksForJson(const std::vector<std::string>& words);

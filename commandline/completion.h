// What makes a shell complete a program's commands, options and values.
#pragma once

#include "commandline/command.h"

#include <string>

std::string BashCompletion(const Program& program);
std::string ZshCompletion(const Program& program);
std::string FishCompletion(const Program& program);

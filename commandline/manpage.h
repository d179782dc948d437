#pragma once

#include "commandline/command.h"

#include <string>

// The manual page of a program, section 1, as troff: what each command does, its options, and its examples.
std::string ManPage(const Program& program);

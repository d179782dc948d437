#pragma once

#include "commandline/command.h"

// abctool with its commands: what is parsed and run, and what help, manual pages and completions are made from.
Program MakeAbctool();

// Custom values: texts that a scene attaches to its elements.
#pragma once

#include "saa/SAA.h"

#include <map>
#include <string>

struct SAA_CusvalSet
{
    std::map<std::string, std::string> strings;
};

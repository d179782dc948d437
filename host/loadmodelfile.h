// Reading a model file for a look at it.
#pragma once

#include "engine/model/src/model.h"

#include <string>

// False if the file can't be opened or is no valid model. What a load has to say of the contracts of model code is
// kept from the user of the program.
bool LoadModelFile(const std::string& file, Model& model);

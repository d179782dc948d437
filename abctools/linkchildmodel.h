#pragma once

#include <string>

class Model;

// Loads a model file and links it as a further child model of that name, with relations from the two bind poses. The
// last of its parents deletes it. False with the end of a sentence.
bool LinkChildModel(Model& model, const std::string& path, const std::string& name, std::string& error);

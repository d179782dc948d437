#pragma once

#include "engine/model/src/model.h"

#include <string>
#include <vector>

// Takes a node out of a model. Its children move up to its parent and take over its motion, so that the pose of every
// other node stays at every key, as do weights, sockets and weight sets. A child with MNODE_FIXEDOFFSET loses the flag,
// since its place in the parent's space moves from then on; `unfixed` gets the names of those. False, with the end of a
// sentence about the model, for the root, a node that vertices or sockets follow, a model with child models (whose
// trees have to stay like its own), one whose link to itself has relations, and without memory.
bool HandDownNode(Model& model, uint32_t iNode, std::vector<std::string>& unfixed, std::string& error);

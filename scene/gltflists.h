// The long lists of a glTF document, read straight from its text: of a document with many nodes, meshes or keys they
// are nearly all, and need neither a tree of values nor a parser that takes it apart again.
#pragma once

#include "scene/tinygltf.h"

#include <cstddef>
#include <string>
#include <vector>

struct GltfLists
{
    std::vector<std::string> taken; // the names of the lists that were read
    tinygltf::Model model;          // which they are put into

    // Moves what was read into `target`.
    void MoveInto(tinygltf::Model& target);
};

// Reads the lists of a document whose form is the plain one: what is required is there, each member is of its type, no
// extension is used, and no name needs an escape or isn't ASCII. Gives back the document with those lists empty; with
// all others as they are, and the whole text as it is if it isn't an object of such lists. Whether what is given back
// is JSON tells whether `text` is.
std::string TakeGltfLists(const char* text, std::size_t length, GltfLists& lists);

// Names of elements: unique whatever a file calls its nodes.
#pragma once

#include "scene/scene.h"

#include <string>
#include <unordered_set>
#include <vector>

// Gives out names that are unique, ignoring the case of ASCII letters. Names are cut to 400 bytes, at their first
// zero byte too.
class ElementNames
{
public:
    // `name` itself where it is free, else the first free one of `name`_1, `name`_2, ...
    std::string Take(const std::string& name);

    // A name for part `number` of the mesh that is called `name`: `name`_`number`, as Take does it. So that this and a
    // token for the texture stay within the 31 bytes that a piece's name has, a longer name is shortened first, in
    // front of the token if there is one.
    std::string TakePart(const std::string& name, int number);

    // Takes `name` as it is; false if it isn't free.
    bool TakeIfFree(const std::string& name);

private:
    std::unordered_set<std::string> m_Taken; // in lower case
};

// One name for each node of the scene, by file order alone: the first node of a name keeps it, a further one gets
// _<k> behind it, one without a name is called node<N> by its index.
std::vector<std::string> NameNodes(const Scene& scene, ElementNames& names);

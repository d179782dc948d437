// A host that lies: answers of the scene library that a test alters before they reach the plug-in.
#pragma once

#include "saa/SAA.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

// What an operation has answered. Each list has the addresses of the out-arguments of its type, in their order; where
// one is a list of the host's, it is the address of its first entry, and there is one at least.
struct HostAnswer
{
    int status = 0;
    int lastNumber = 0;              // that was handed in: the places of a list, most often
    const SAA_Elem* pElem = nullptr; // the last element that was handed in
    std::vector<int*> ints;
    std::vector<float*> floats;
    std::vector<SAA_Position*> positions;
    std::vector<SAA_Elem*> elems;
    std::vector<SAA_SubHandle*> subHandles;
};

// By the operation's name: what is called with each of its answers. Works for all of them.
extern std::map<std::string, std::function<void(HostAnswer&)>> g_HostLies;

// Lets an operation answer with success and this count (or frame, or type, or first number).
void LieCount(const char* pOperation, int count);

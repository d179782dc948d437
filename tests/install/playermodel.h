#pragma once

// Writes a model of three nodes in a row (hips, arm, hand), a mesh of one triangle on them, and the animations "wave",
// "rest" and "nod". Unless it is bare, it has the weight set "arms" and the socket "grip" as well. False if it can't be
// written.
bool SavePlayerModel(const char* pPath, bool bBare);

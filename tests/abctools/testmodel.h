// Models to look into, loaded from plain records, and files of them.
#pragma once

#include "engine/model/src/model.h"
#include "tests/win32/temporaryfolder.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

struct ModelDeleter
{
    void operator()(Model* pModel) const { Model::DeleteModel(pModel); }
};
typedef std::unique_ptr<Model, ModelDeleter> ModelPointer;

// Nodes: root with the children spine (with the child hand) and leg, which has a fixed offset. Two LODs. Pieces: body,
// with 3 and 3 vertices, and "t\x1b[31m", with 4 and 3. Animations: run with keys at 0, 100, 100 and 300 ms, walk with
// keys at 0 and 250 ms. A socket grip on hand, a weight set upper (0, 1, 0.5, 2 by node). The command string sets
// VisRadius 75, Rigid, and a normal reference.
ModelPointer MakeTestModel();

// A model of the same shape without meshes, sockets and sets, whose one animation, named by the caller, has keys at 0
// and 1000 ms. The root's key 1 stands at x = `distance`.
ModelPointer MakeChildModel(const char* pAnimName, float distance);

std::vector<uint8_t> BytesOf(Model& model);
// Null if they don't load. A model that was saved differs from its file in the stamp.
ModelPointer LoadBytes(std::vector<uint8_t> bytes);

void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes);
std::vector<uint8_t> ReadBytes(const std::string& path);

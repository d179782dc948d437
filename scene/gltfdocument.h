// A glTF 2.0 file as it stands: the parsed document and the bytes of its buffers, before anyone asks whether it makes
// sense.
#pragma once

#include "scene/scene.h"
#include "scene/tinygltf.h"

#include <cstddef>
#include <string>
#include <vector>

struct GltfDocument
{
    tinygltf::Model model;             // with its buffers filled, and without its images
    std::vector<SceneImage> images;    // in file order
    std::vector<std::string> files;    // paths of the buffers and images that the file refers to
    std::size_t inputBytes = 0;        // the length of the file and of the buffers that it refers to, and of what those
                                       // hold in compressed form
    std::vector<std::string> warnings; // what was put right or isn't read, a sentence each
};

// Reads .gltf and .glb (told apart by their first bytes) with external buffers and data URIs; what is compressed is
// decompressed. A missing image is no error. False with a sentence in `error` if the file can't be read, isn't glTF
// 2.x, or holds compressed data that make no sense. Everything that the document says is still unchecked.
bool LoadGltfDocument(const std::string& path, GltfDocument& document, std::string& error);

// The one place where tinygltf is compiled. Files and images are read by ourselves (see gltfdocument.h).
#define TINYGLTF_IMPLEMENTATION
#include "scene/tinygltf.h"

// The decoders of EXT_meshopt_compression, in a library that is loaded when a file needs them.
#pragma once

#include <cstddef>

enum MeshoptMode
{
    MESHOPT_ATTRIBUTES,
    MESHOPT_TRIANGLES,
    MESHOPT_INDICES
};

enum MeshoptFilter
{
    MESHOPT_NONE,
    MESHOPT_OCTAHEDRAL,
    MESHOPT_QUATERNION,
    MESHOPT_EXPONENTIAL
};

// Fills `target` with `count` elements of `stride` bytes from a compressed stream. There must be room for a multiple of
// four elements. False if the stream is damaged.
extern "C" bool ZoltDecodeMeshopt(MeshoptMode mode, MeshoptFilter filter, unsigned char* target, std::size_t count,
                                  std::size_t stride, const unsigned char* source, std::size_t length);

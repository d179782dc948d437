#include "scene/meshoptdecoder.h"

#include <meshoptimizer.h>

extern "C" bool ZoltDecodeMeshopt(MeshoptMode mode, MeshoptFilter filter, unsigned char* target, std::size_t count,
                                  std::size_t stride, const unsigned char* source, std::size_t length)
{
    int result = 0;
    if (mode == MESHOPT_TRIANGLES)
    {
        result = meshopt_decodeIndexBuffer(target, count, stride, source, length);
    }
    else if (mode == MESHOPT_INDICES)
    {
        result = meshopt_decodeIndexSequence(target, count, stride, source, length);
    }
    else
    {
        result = meshopt_decodeVertexBuffer(target, count, stride, source, length);
    }
    if (filter == MESHOPT_OCTAHEDRAL)
    {
        meshopt_decodeFilterOct(target, count, stride);
    }
    else if (filter == MESHOPT_QUATERNION)
    {
        meshopt_decodeFilterQuat(target, count, stride);
    }
    else if (filter == MESHOPT_EXPONENTIAL)
    {
        meshopt_decodeFilterExp(target, count, stride);
    }
    return result == 0;
}

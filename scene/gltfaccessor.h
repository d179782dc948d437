// Reads the numbers that an accessor of a glTF document stands for.
#pragma once

#include "scene/gltfdocument.h"

#include <cstdint>
#include <string>
#include <vector>

// What a caller accepts.
enum class GltfNumbers
{
    Any,    // every component type; integers that are marked as normalised come out as fractions
    Floats, // 32-bit floats only
    Indices // unsigned integers that aren't normalised
};

// Reads all elements of an accessor of `width` components (1, 2, 3, 4 or 16), element after element; sparse values and
// strides are resolved. False with the end of a sentence in `error` ("accessor 3: ...") if the accessor doesn't exist,
// has another shape, reaches beyond its buffer view or that beyond its buffer, or holds a number that isn't finite.
// No more memory is asked for than a small multiple of the document's input.
bool ReadGltfAccessor(const GltfDocument& document, int accessor, int width, GltfNumbers accepted,
                      std::vector<double>& values, std::string& error);

// The same of GltfNumbers::Indices, as whole numbers.
bool ReadGltfIndices(const GltfDocument& document, int accessor, int width, std::vector<std::uint32_t>& values,
                     std::string& error);

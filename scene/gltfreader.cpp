#include "scene/gltfreader.h"

#include "scene/gltfparts.h"
#include "scene/readfile.h"
#include "scene/wholescene.h"

#include <cmath>

static const std::size_t FREE_NUMBERS = std::size_t(8) << 20U; // what every file may store
static const std::size_t NUMBERS_PER_BYTE = 16;                // and what more for each byte of input

bool GltfReading::Fail(const std::string& reason)
{
    error = reason;
    return false;
}

bool GltfReading::Spend(std::size_t count)
{
    if (count > budget)
    {
        return Fail("the file refers to its data too often to be held in memory");
    }
    budget -= count;
    return true;
}

bool IsNearUnit(const double* quat)
{
    constexpr double TOLERANCE = 0.01;
    const double length = std::sqrt(quat[0] * quat[0] + quat[1] * quat[1] + quat[2] * quat[2] + quat[3] * quat[3]);
    return std::fabs(length - 1.0) <= TOLERANCE;
}

static bool ReadParts(const std::string& path, Scene& scene, std::string& error)
{
    GltfDocument document;
    if (!LoadGltfDocument(path, document, error))
    {
        return false;
    }
    scene.fileStem = FileStemOf(path);
    scene.images = document.images;
    scene.files = document.files;
    scene.warnings = document.warnings;
    GltfReading reading{document, scene, {}, FREE_NUMBERS + NUMBERS_PER_BYTE * document.inputBytes};
    if (!ReadGltfMeshes(reading) || !ReadGltfNodes(reading) || !ReadGltfInstances(reading) || !ReadGltfSkins(reading) ||
        !ReadGltfClips(reading))
    {
        error = FileNameOf(path) + ": " + reading.error + ".";
        return false;
    }
    return true;
}

bool ReadGltfScene(const char* path, Scene& scene, std::string& error)
{
    return ReadWholeScene(path, scene, error, ReadParts);
}

#include "scene/wholescene.h"

#include "scene/readfile.h"

#include <exception>
#include <new>

bool ReadWholeScene(const std::string& path, Scene& scene, std::string& error,
                    bool (*readParts)(const std::string& path, Scene& scene, std::string& error))
{
    bool read = false;
    try
    {
        scene = Scene();
        error.clear();
        read = readParts(path, scene, error);
    }
    catch (const std::bad_alloc&)
    {
        error = path + ": out of memory.";
    }
    catch (const std::exception& exception)
    {
        error = FileNameOf(path) + " can't be read: " + exception.what() + ".";
    }
    if (!read)
    {
        scene = Scene();
    }
    return read;
}

// How a program opens a scene on Windows, where the library is one of C functions. `scenehost` is such a program.
#pragma once

#ifdef _WIN32

extern "C"
{
    // Makes a clip of a glTF file the current scene: that of the name or, with a null pointer, the first one; a scene
    // without clips is one at rest. The frame rate and the keys are those that suit the clip. Status texts go to
    // stdout. 0, or another value with a sentence in `message`, cut to `size` bytes.
    int OpenStandInScene(const char* path, const char* clip, char* message, int size);

    // Closes it again. The texts of the status bar go nowhere from then on.
    void CloseStandInScene();
}

#endif

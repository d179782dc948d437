// The export dialog of the plug-in, as far as whoever operates it needs to know it.
#pragma once

constexpr int EXPORT_FILENAME_EDIT = 1000;
constexpr int EXPORT_ANIMATION_EDIT = 1001;
constexpr int EXPORT_DEBUG_CHECK = 1004;
constexpr int EXPORT_OVERWRITE_CHECK = 1005;

// Its Yes/No questions: the first as it is, the second behind the file's name.
constexpr char APPEND_QUESTION[] = "Filename exists - append current animation to this file?";
constexpr char OVERWRITE_QUESTION[] = " is an invalid model file, overwrite?";

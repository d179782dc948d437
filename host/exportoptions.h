// What the command line of the exporter asks for.
#pragma once

#include <optional>
#include <string>
#include <vector>

// The dialog takes this many characters of a file name or an animation name.
constexpr int MAX_DIALOG_TEXT = 511;

// So many bytes of an animation's name are taken: a model file keeps 255 of it in some places, and a name that is there
// already gets a number behind it.
constexpr int MAX_ANIM_NAME = 250;

// Which frames of a clip get keys.
enum class KeyChoice
{
    Shape,    // those of the file, and as few more as its curves need
    Authored, // those of the file alone
    Every     // each frame of the play range
};

// Where the skin of a fresh model is taken.
enum class RestChoice
{
    Auto, // at the bind pose if that plays better, else as First
    Bind,
    First // at the first frame of the first clip
};

struct ExportOptions
{
    std::string scenePath;               // as it was given
    std::vector<std::string> moreScenes; // likewise; what else the model gets animations from
    std::string outPath;                 // absolute; empty: what the dialog offers
    std::optional<std::string> animName; // none: what the dialog offers
    std::optional<std::string> clip;     // a clip's name or index
    bool allClips = false;
    bool autoFps = true; // the rate that suits the keys, in place of fps
    double fps = 30.0;
    KeyChoice keys = KeyChoice::Shape;
    RestChoice rest = RestChoice::Auto;
    std::optional<std::string> restName; // of the animation that holds the pose at rest; none: no such animation
    double scale = 1.0;                  // of the scene as a whole
    char up = 0;                         // which axis of the model points up, 'y' or 'z'; 0: y, as the scene has it
    bool flipV = false;
    std::optional<int> start; // frames
    std::optional<int> end;
    bool append = false;
    bool fit = false;              // bring a scene into the shape of the model that it is added to
    std::vector<std::string> keep; // shell patterns of nodes that a fresh export doesn't remove
    bool overwrite = false;
    bool replace = false;         // an animation of the same name gives way to the new one
    std::optional<bool> debug;    // none: as the dialog offers it
    std::string logPath;          // absolute; empty: the usual place
    bool report = false;          // print what the model made of the scene
    std::string reportPath;       // absolute; empty: no file for a script
    std::optional<double> strict; // percent of the radius; none: no limit
    unsigned jobs = 0;            // threads that hold the model against the scene, 0: one for each processor
    bool quiet = false;
    bool watch = false; // export again whenever an input changes
    bool list = false;
    bool json = false;
};

// What came of the command line. Unless `run` is set, the program prints `output` to stdout and `problem` to stderr,
// and ends with `status`.
struct CommandLine
{
    bool run = false;
    int status = 0;
    std::string output;
    std::string problem;
};

// Takes the program's arguments, the program's own name first. Wrong usage gives the status 2 and one sentence with a
// hint.
CommandLine ParseExportOptions(int argc, const char* const* argv, ExportOptions& options);

#include "host/exportoptions.h"

#include "commandline/completion.h"
#include "commandline/manpage.h"
#include "commandline/parsecommand.h"
#include "host/argumentfiles.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

namespace
{

// Options whose text needs a look of its own before it counts.
struct RawTexts
{
    std::vector<std::string> scenes;
    std::optional<std::string> out, anim, clip, fps, keys, start, end, rest, restName, scale, up, log, report, strict,
        jobs;
    bool keepAll = false;
    bool debug = false;
    bool noDebug = false;
    bool man = false; // taken by a look of its own, like the next
    std::string completion;
};

} // namespace

static constexpr double MIN_FPS = 1.0;
static constexpr double MAX_FPS = 1000.0;
static constexpr double MIN_SCALE = 1e-6;
static constexpr double MAX_SCALE = 1e6;
static constexpr double MAX_JOBS = 1024.0;
static constexpr int MAX_FRAME = 1000000000; // so that differences of frames stay within an int

namespace
{

struct OptionalValue
{
    const char* option;
    const char* value; // what stands for one that isn't given
};

} // namespace

// Options whose value may be left out.
static const OptionalValue OPTIONAL_VALUES[] = {{"--rest", "rest"}, {"--strict", "1"}};

static const std::pair<const char*, RestChoice> REST_CHOICES[] = {
    {"auto", RestChoice::Auto}, {"bind", RestChoice::Bind}, {"first", RestChoice::First}};

static const std::pair<const char*, KeyChoice> KEY_CHOICES[] = {
    {"shape", KeyChoice::Shape}, {"authored", KeyChoice::Authored}, {"every", KeyChoice::Every}};

// False for a word that isn't in the table.
template <typename Choice, size_t n>
static bool TakeChoice(const std::pair<const char*, Choice> (&choices)[n], const std::string& text, Choice& taken)
{
    for (const auto& [name, choice] : choices)
    {
        if (text == name)
        {
            taken = choice;
            return true;
        }
    }
    return false;
}

static CommandLine WrongUsage(const std::string& sentence)
{
    return {false, STATUS_USAGE, std::string(), sentence + " Try --help."};
}

// A number, or one divided by another: "30", "29.97", "30000/1001".
static bool ParseNumber(const std::string& text, double& value)
{
    const char* last = text.data() + text.size();
    auto [end, error] = std::from_chars(text.data(), last, value);
    if (error != std::errc())
        return false;
    if (end != last)
    {
        double divisor = 0.0;
        if (*end != '/' || std::from_chars(end + 1, last, divisor).ptr != last || divisor == 0.0)
            return false;
        value /= divisor;
    }
    return std::isfinite(value);
}

static bool ParseFrame(const std::string& text, std::optional<int>& frame)
{
    int value = 0;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    if (error != std::errc() || end != last || value < -MAX_FRAME || value > MAX_FRAME)
        return false;
    frame = value;
    return true;
}

// Not normalised: a ".." behind a symbolic link means what the system makes of it.
static bool MakeAbsolute(const std::string& path, std::string& absolute)
{
    std::error_code error;
    absolute = std::filesystem::absolute(path, error).string();
    return !error && !path.empty();
}

static const OptionalValue* FindOptionalValue(const std::string& argument)
{
    for (const OptionalValue& optional : OPTIONAL_VALUES)
    {
        if (argument == optional.option)
            return &optional;
    }
    return nullptr;
}

// Whether the word behind the option is meant for it. What looks like a path is a scene, and so is all but a number
// behind --strict.
static bool CouldBeValue(const OptionalValue& optional, const std::string& word)
{
    double number = 0.0;
    if (optional.option == std::string("--strict"))
        return ParseNumber(word, number);
    return !word.empty() && word[0] != '-' && word.find_first_of("./") == std::string::npos;
}

// Gives each option whose value may be left out one with '='. What stands behind such an option is its value, unless it
// is an option itself, or the command line would be left without a scene.
static void CompleteOptionalValues(const CommandOptions& commandOptions, std::vector<std::string>& arguments)
{
    std::set<std::string> takesValue;
    for (const CommandOption& option : commandOptions.List())
    {
        for (const std::string& name : option.NameList())
        {
            if (option.NumValues() > 0 && !option.m_bPositional)
                takesValue.insert(name);
        }
    }
    std::vector<size_t> open; // options with a word behind them
    bool hasScene = false;
    for (size_t i = 0; i < arguments.size(); i++)
    {
        const bool hasNext = i + 1 < arguments.size();
        const OptionalValue* optional = FindOptionalValue(arguments[i]);
        if (arguments[i] == "--")
        {
            hasScene = hasScene || hasNext;
            break;
        }
        if (optional && hasNext && CouldBeValue(*optional, arguments[i + 1]))
            open.push_back(i++);
        else if (optional)
            arguments[i] += std::string("=") + optional->value;
        else if (takesValue.count(arguments[i]) > 0)
            i++;
        else if (arguments[i].empty() || arguments[i][0] != '-')
            hasScene = true;
    }
    for (size_t k = open.size(); k > 0; k--)
    {
        const size_t i = open[k - 1];
        if (!hasScene)
        {
            arguments[i] += std::string("=") + FindOptionalValue(arguments[i])->value;
            hasScene = true;
            continue;
        }
        arguments[i] += "=" + arguments[i + 1];
        arguments.erase(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    }
}

// --rest takes one of three words; any other is the name of the animation that holds the pose.
static std::string TakeRest(const RawTexts& texts, ExportOptions& options)
{
    const bool named = texts.restName.has_value();
    const bool isChoice = !texts.rest || TakeChoice(REST_CHOICES, *texts.rest, options.rest);
    if (!isChoice && named)
        return "--rest needs auto, bind or first where --rest-name gives the name.";
    if (named && options.rest == RestChoice::First)
        return "--rest first exports no pose at rest that --rest-name could name.";
    if (!isChoice || named)
    {
        options.rest = RestChoice::Bind;
        options.restName = named ? *texts.restName : *texts.rest;
        if (options.restName->empty() || options.restName->size() > MAX_ANIM_NAME)
            return (named ? "--rest-name" : "--rest") + std::string(" needs a name of 1 to 250 bytes.");
    }
    return std::string();
}

// What turns, scales and times the scene. Empty if all of it makes sense.
static std::string TakeSceneTexts(const RawTexts& texts, ExportOptions& options)
{
    if (texts.fps && *texts.fps != "auto")
    {
        options.autoFps = false;
        if (!ParseNumber(*texts.fps, options.fps) || options.fps < MIN_FPS || options.fps > MAX_FPS)
            return "--fps needs a number from 1 to 1000, or auto.";
    }
    if (texts.keys && !TakeChoice(KEY_CHOICES, *texts.keys, options.keys))
        return "--keys needs shape, authored or every.";
    if (std::string problem = TakeRest(texts, options); !problem.empty())
        return problem;
    if (texts.scale &&
        (!ParseNumber(*texts.scale, options.scale) || options.scale < MIN_SCALE || options.scale > MAX_SCALE))
        return "--scale needs a number from 0.000001 to 1000000.";
    if (texts.up && *texts.up != "y" && *texts.up != "z")
        return "--up needs y or z.";
    options.up = texts.up ? (*texts.up)[0] : '\0';
    return std::string();
}

// What is said of the model. Empty if all of it makes sense.
static std::string TakeReportTexts(const RawTexts& texts, ExportOptions& options)
{
    if (texts.report && !MakeAbsolute(*texts.report, options.reportPath))
        return "--report-json needs the name of a file.";
    if (texts.strict)
    {
        double limit = 0.0;
        if (!ParseNumber(*texts.strict, limit) || limit < 0.0)
            return "--strict needs a percentage from 0 up.";
        options.strict = limit;
    }
    double jobs = 0.0;
    if (texts.jobs &&
        (!ParseNumber(*texts.jobs, jobs) || !(jobs >= 1.0 && jobs <= MAX_JOBS) || jobs != std::floor(jobs)))
        return "--jobs needs a number from 1 to 1024.";
    options.jobs = static_cast<unsigned>(jobs);
    if (options.list && (options.report || options.strict || !options.reportPath.empty()))
        return "--list exports nothing that --report, --report-json or --strict could look at.";
    return std::string();
}

// The scenes, and what doesn't go together with several of them. Empty if all of it makes sense.
static std::string TakeScenes(const RawTexts& texts, ExportOptions& options)
{
    if (std::count(texts.scenes.begin(), texts.scenes.end(), std::string()) > 0)
        return "The name of the scene file is empty.";
    options.scenePath = texts.scenes.front();
    options.moreScenes.assign(texts.scenes.begin() + 1, texts.scenes.end());
    if (options.moreScenes.empty())
        return std::string();
    if (options.animName)
        return "Several scenes name each animation after its clip and don't go together with --anim.";
    if (options.clip)
        return "Several scenes give their first clip, or all with --all-clips; they don't go together with --clip.";
    if (options.list)
        return "--list shows one scene.";
    return std::string();
}

// Files that are written again, and animations that are.
static std::string FindRepetitionProblem(const ExportOptions& options)
{
    if (options.replace && !options.append)
        return "--replace goes together with --append.";
    if (options.watch && options.append && !options.replace)
        return "--watch would add an animation with each change; --replace puts it in the place of the one before.";
    if (options.watch && options.list)
        return "--watch doesn't go together with --list.";
    return std::string();
}

static CommandLine TakeTexts(const RawTexts& texts, ExportOptions& options)
{
    if (texts.out && !MakeAbsolute(*texts.out, options.outPath))
        return WrongUsage("--output needs the name of a file.");
    if (options.outPath.size() > MAX_DIALOG_TEXT)
        return WrongUsage("The path of the output file is longer than 511 characters.");
    if (texts.anim)
        options.animName = texts.anim;
    if (texts.anim && texts.anim->size() > MAX_ANIM_NAME)
        return WrongUsage("The animation name is longer than 250 bytes.");
    if (texts.anim && texts.anim->empty())
        return WrongUsage("The animation name is empty.");
    if (texts.clip && texts.clip->empty())
        return WrongUsage("--clip needs a name or a number.");
    if (texts.clip)
        options.clip = texts.clip;
    if (options.allClips && options.animName)
        return WrongUsage("--all-clips names each animation after its clip and doesn't go together with --anim.");
    if (options.allClips && options.clip)
        return WrongUsage("--all-clips doesn't go together with --clip.");
    std::string problem = TakeScenes(texts, options);
    if (problem.empty())
        problem = TakeSceneTexts(texts, options);
    if (problem.empty())
        problem = TakeReportTexts(texts, options);
    if (problem.empty())
        problem = FindRepetitionProblem(options);
    if (!problem.empty())
        return WrongUsage(problem);
    if (texts.start && !ParseFrame(*texts.start, options.start))
        return WrongUsage("--start needs a frame number.");
    if (texts.end && !ParseFrame(*texts.end, options.end))
        return WrongUsage("--end needs a frame number.");
    if (texts.log && !MakeAbsolute(*texts.log, options.logPath))
        return WrongUsage("--log needs the name of a file.");
    if (options.json && !options.list)
        return WrongUsage("--json goes together with --list.");
    return {true, 0, std::string(), std::string()};
}

// The program's one command. What it is given goes into `texts`, and into `options` where it needs no further look.
static Program MakeProgram(RawTexts& texts, ExportOptions& options)
{
    Program program;
    program.m_Name = "zoltexport";
    program.m_Version = ZOLT_VERSION;
    program.m_Summary = "Export the animated scene of a glTF, FBX, Collada, ... file to an .abc model file";
    Command& command = program.m_Commands.emplace_back();
    command.m_Summary = program.m_Summary;
    CommandOptions& list = command.m_Options;
    list.AddFiles("SCENE", texts.scenes,
                  "The scene files. The first gives the figure and its clip; each further one adds a clip, or all with "
                  "--all-clips, to the model; all or nothing. @FILE stands for the words in FILE");
    list.AddText("-o,--output", "FILE", texts.out,
                 "The model file; without it, that of the last run, at first model.abc in the current folder")
        .m_Kind = ValueKind::File;
    list.AddText("-a,--anim", "NAME", texts.anim, "The animation's name in the model file; without it, the clip's");
    list.AddText("--clip", "NAME|INDEX", texts.clip, "The clip to export; without it, the first");
    list.AddFlag("--all-clips", options.allClips, "Export every clip into the one file, all or nothing");
    list.AddText("--fps", "N|auto", texts.fps,
                 "Frames per second, from 1 to 1000; auto, the default: the lowest of 24, 25, 30, 48, 50, 60 and 120 "
                 "at which every key of the exported clips lies on a frame, else what the file states, else 30");
    list.AddText("--keys", "shape|authored|every", texts.keys,
                 "Which frames get keys: shape, the default: those of the file and as few more as it takes to follow "
                 "its curves; authored: those of the file alone; every: all");
    list.AddText("--start", "F", texts.start, "First frame, instead of that of the clip's first key");
    list.AddText("--end", "F", texts.end, "Last frame, instead of that of the clip's last key");
    list.AddText("--rest", "[auto|bind|first]", texts.rest,
                 "Where the skin of a fresh model is taken: auto, the default: at the bind pose, if a vertex would "
                 "stray by more than 0.1 % of the radius with the skin of the first frame, and less with that; bind; "
                 "first. Any other word counts as bind and --rest-name with that name, and no word as rest. A model "
                 "that is added to keeps its skin");
    list.AddText("--rest-name", "NAME", texts.restName,
                 "Take the skin at the bind pose, and keep that as an animation of one frame ahead of the others; "
                 "without it, the model holds none for it");
    list.AddText("--scale", "S", texts.scale,
                 "Scale the scene as a whole; files that state their unit (FBX, Collada) are in metres by then");
    list.AddText("--up", "y|z", texts.up,
                 "Which axis of the model points up, if not y; files that state their up axis (FBX, Collada) are "
                 "turned to y up without this, other files are taken to be");
    list.AddFlag("--flip-v", options.flipV, "Texture coordinates v become 1 - v");
    list.AddFlag("--append", options.append, "Add the animation to the model file if it exists");
    list.AddFlag("--fit", options.fit,
                 "Bring the scene into the shape of the model that it is added to: nodes go by name without a prefix "
                 "up to the last : or | and without case, in the model's order; what the scene lacks stands as at the "
                 "model's first key, what the model lacks is left out and its motion handed down");
    list.AddTexts("--keep", "NAME", options.keep,
                  "Don't remove nodes of that name in a fresh export, even if they move no vertex; a shell pattern, "
                  "any number of times");
    list.AddFlag("--keep-all", texts.keepAll, "Remove no node");
    list.AddFlag("--overwrite", options.overwrite,
                 "Replace the model file; with --append, only if it is no valid model");
    list.AddFlag("--replace", options.replace,
                 "With --append: an animation of the same name gives way to the new one, which takes its place; "
                 "without it, the new one gets a number");
    list.AddFlag("--watch", options.watch,
                 "Export again whenever a file of the scenes changes, until interrupted; a file that is there already "
                 "still wants --overwrite, or --append and --replace");
    list.AddFlag("--debug", texts.debug, "Show each call of the scene library that fails");
    list.AddFlag("--no-debug", texts.noDebug, "Don't; without either, as in the last run");
    list.AddText("--log", "FILE", texts.log, "Where the log goes").m_Kind = ValueKind::File;
    list.AddFlag("--report", options.report, "Print how far the model strays from the scene, and what it lacks");
    list.AddText("--report-json", "FILE", texts.report, "Write the same as JSON").m_Kind = ValueKind::File;
    list.AddText(
        "--strict", "[LIMIT]", texts.strict,
        "Write no file if the model strays by more than LIMIT percent of its radius (1) from the scene, as the "
        "weights above 5 % move it, those that a model keeps. LIMIT may be left out");
    list.AddText("--jobs", "N", texts.jobs,
                 "How many threads hold the model against the scene, from 1 to 1024; without it, one for each "
                 "processor. The result is the same");
    list.AddFlag(
        "-q,--quiet", options.quiet,
        "Say nothing but errors; --report and --list still print. Unless a report or --strict asks for it, the "
        "model isn't held against the scene then, which saves time");
    list.AddFlag("--list", options.list, "Print what is in the scene and export nothing");
    list.AddFlag("--json", options.json, "With --list: print it as JSON");
    list.AddFlag("--man", texts.man, "Alone: print the manual page");
    list.AddChoice("--completion", texts.completion, {"bash", "zsh", "fish"},
                   "Alone: print what makes a shell complete options");
    command.m_Details = "Exit status: 0 written, 1 not written, 2 wrong usage.\n";
    command.m_Examples = {
        {"zoltexport strider.gltf --list", "What is in a scene: nodes, meshes, clips."},
        {"zoltexport strider.gltf --all-clips -o strider.abc", "A model with every clip of the scene."},
        {"zoltexport wave.fbx -o strider.abc --append --fit", "A further animation, out of a file of its own."},
        {"zoltexport hero.glb -o hero.abc --all-clips --overwrite --watch", "Again with each save of the scene."},
        {"zoltexport hero.glb --all-clips -o hero.abc --strict --report",
         "No file if the model strays from the scene by more than 1 % of its radius."}};
    command.m_Check = [&texts]
    { return std::string(texts.debug && texts.noDebug ? "--debug and --no-debug don't go together" : ""); };
    return program;
}

// What the two options print that stand alone; empty for any other command line.
static std::string PagesOf(const Program& program, const std::vector<std::string>& words)
{
    if (words.size() == 1 && words[0] == "--man")
        return ManPage(program);
    if (words.size() != 2 || words[0] != "--completion")
        return std::string();
    if (words[1] == "bash")
        return BashCompletion(program);
    if (words[1] == "zsh")
        return ZshCompletion(program);
    return words[1] == "fish" ? FishCompletion(program) : std::string();
}

CommandLine ParseExportOptions(int argc, const char* const* argv, ExportOptions& options)
{
    options = ExportOptions();
    std::vector<std::string> arguments(argv, argv + argc);
    std::string problem;
    if (!ExpandArgumentFiles(arguments, problem))
        return WrongUsage(problem);
    if (!arguments.empty())
        arguments.erase(arguments.begin()); // the program's name
    RawTexts texts;
    const Program program = MakeProgram(texts, options);
    if (std::string pages = PagesOf(program, arguments); !pages.empty())
        return {false, STATUS_RIGHT, std::move(pages), std::string()};
    CompleteOptionalValues(program.m_Commands[0].m_Options, arguments);
    ParsedCommand parsed = ParseCommand(program, arguments);
    if (!parsed.m_pCommand)
        return {false, parsed.m_Status, std::move(parsed.m_Output), std::move(parsed.m_Problem)};
    if (texts.man || !texts.completion.empty())
        return WrongUsage("--man and --completion stand alone.");
    CommandLine result = TakeTexts(texts, options);
    if (texts.keepAll)
        options.keep.emplace_back("*");
    if (texts.debug || texts.noDebug)
        options.debug = texts.debug;
    return result;
}

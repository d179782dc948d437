#include "host/exportoptions.h"

#include "host/argumentfiles.h"

#include <CLI/CLI.hpp>

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
    std::string out, anim, clip, fps, keys, start, end, rest, restName, scale, up, log, report, strict, jobs;
};

} // namespace

static constexpr double MIN_FPS = 1.0;
static constexpr double MAX_FPS = 1000.0;
static constexpr double MIN_SCALE = 1e-6;
static constexpr double MAX_SCALE = 1e6;
static constexpr double MAX_JOBS = 1024.0;
static constexpr int MAX_FRAME = 1000000000; // so that differences of frames stay within an int

static const char* const VALUE_OPTIONS[] = {"-o",     "--output",      "-a",          "--anim", "--clip",  "--fps",
                                            "--keys", "--start",       "--end",       "--log",  "--scale", "--up",
                                            "--keep", "--report-json", "--rest-name", "--jobs"};
static const char* const OTHER_OPTIONS[] = {"--all-clips", "--append",   "--fit",    "--keep-all", "--overwrite",
                                            "--debug",     "--no-debug", "--quiet",  "-q",         "--list",
                                            "--json",      "--help",     "-h",       "--version",  "--rest",
                                            "--flip-v",    "--report",   "--strict", "--replace",  "--watch"};

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
    return {false, 2, std::string(), sentence + " Try --help."};
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

// An option that lacks its value would take the next option as one, and with an '=' and nothing behind it the next
// word. A value that looks like an option can be given with '='.
static std::string FindSwallowedOption(const std::vector<std::string>& arguments)
{
    const std::set<std::string> takesValue(std::begin(VALUE_OPTIONS), std::end(VALUE_OPTIONS));
    std::set<std::string> all(std::begin(OTHER_OPTIONS), std::end(OTHER_OPTIONS));
    all.insert(takesValue.begin(), takesValue.end());
    for (size_t i = 1; i < arguments.size(); i++)
    {
        const std::string& word = arguments[i];
        if (word == "--")
            break;
        if (!word.empty() && word.back() == '=' && all.count(word.substr(0, word.size() - 1)) != 0)
            return word.substr(0, word.size() - 1);
        if (takesValue.count(word) == 0 || i + 1 == arguments.size())
            continue;
        i++;
        if (all.count(arguments[i]) != 0)
            return word;
    }
    return std::string();
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
static void CompleteOptionalValues(std::vector<std::string>& arguments)
{
    const std::set<std::string> takesValue(std::begin(VALUE_OPTIONS), std::end(VALUE_OPTIONS));
    std::vector<size_t> open; // options with a word behind them
    bool hasScene = false;
    for (size_t i = 1; i < arguments.size(); i++)
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
static std::string TakeRest(const CLI::App& app, const RawTexts& texts, ExportOptions& options)
{
    const bool named = app.count("--rest-name") > 0;
    const bool isChoice = app.count("--rest") == 0 || TakeChoice(REST_CHOICES, texts.rest, options.rest);
    if (!isChoice && named)
        return "--rest needs auto, bind or first where --rest-name gives the name.";
    if (named && options.rest == RestChoice::First)
        return "--rest first exports no pose at rest that --rest-name could name.";
    if (!isChoice || named)
    {
        options.rest = RestChoice::Bind;
        options.restName = named ? texts.restName : texts.rest;
        if (options.restName->empty() || options.restName->size() > MAX_ANIM_NAME)
            return (named ? "--rest-name" : "--rest") + std::string(" needs a name of 1 to 250 bytes.");
    }
    return std::string();
}

// What turns, scales and times the scene. Empty if all of it makes sense.
static std::string TakeSceneTexts(const CLI::App& app, const RawTexts& texts, ExportOptions& options)
{
    if (app.count("--fps") > 0 && texts.fps != "auto")
    {
        options.autoFps = false;
        if (!ParseNumber(texts.fps, options.fps) || options.fps < MIN_FPS || options.fps > MAX_FPS)
            return "--fps needs a number from 1 to 1000, or auto.";
    }
    if (app.count("--keys") > 0 && !TakeChoice(KEY_CHOICES, texts.keys, options.keys))
        return "--keys needs shape, authored or every.";
    if (std::string problem = TakeRest(app, texts, options); !problem.empty())
        return problem;
    if (app.count("--scale") > 0 &&
        (!ParseNumber(texts.scale, options.scale) || options.scale < MIN_SCALE || options.scale > MAX_SCALE))
        return "--scale needs a number from 0.000001 to 1000000.";
    if (app.count("--up") > 0 && texts.up != "y" && texts.up != "z")
        return "--up needs y or z.";
    options.up = texts.up.empty() ? '\0' : texts.up[0];
    return std::string();
}

// What is said of the model. Empty if all of it makes sense.
static std::string TakeReportTexts(const CLI::App& app, const RawTexts& texts, ExportOptions& options)
{
    if (app.count("--report-json") > 0 && !MakeAbsolute(texts.report, options.reportPath))
        return "--report-json needs the name of a file.";
    if (app.count("--strict") > 0)
    {
        double limit = 0.0;
        if (!ParseNumber(texts.strict, limit) || limit < 0.0)
            return "--strict needs a percentage from 0 up.";
        options.strict = limit;
    }
    double jobs = 0.0;
    if (app.count("--jobs") > 0 &&
        (!ParseNumber(texts.jobs, jobs) || !(jobs >= 1.0 && jobs <= MAX_JOBS) || jobs != std::floor(jobs)))
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

static CommandLine TakeTexts(const CLI::App& app, const RawTexts& texts, ExportOptions& options)
{
    if (app.count("--output") > 0 && !MakeAbsolute(texts.out, options.outPath))
        return WrongUsage("--output needs the name of a file.");
    if (options.outPath.size() > MAX_DIALOG_TEXT)
        return WrongUsage("The path of the output file is longer than 511 characters.");
    if (app.count("--anim") > 0)
        options.animName = texts.anim;
    if (texts.anim.size() > MAX_ANIM_NAME)
        return WrongUsage("The animation name is longer than 250 bytes.");
    if (app.count("--anim") > 0 && texts.anim.empty())
        return WrongUsage("The animation name is empty.");
    if (app.count("--clip") > 0)
        options.clip = texts.clip;
    if (options.allClips && options.animName)
        return WrongUsage("--all-clips names each animation after its clip and doesn't go together with --anim.");
    if (options.allClips && options.clip)
        return WrongUsage("--all-clips doesn't go together with --clip.");
    std::string problem = TakeScenes(texts, options);
    if (problem.empty())
        problem = TakeSceneTexts(app, texts, options);
    if (problem.empty())
        problem = TakeReportTexts(app, texts, options);
    if (problem.empty())
        problem = FindRepetitionProblem(options);
    if (!problem.empty())
        return WrongUsage(problem);
    if (app.count("--start") > 0 && !ParseFrame(texts.start, options.start))
        return WrongUsage("--start needs a frame number.");
    if (app.count("--end") > 0 && !ParseFrame(texts.end, options.end))
        return WrongUsage("--end needs a frame number.");
    if (app.count("--log") > 0 && !MakeAbsolute(texts.log, options.logPath))
        return WrongUsage("--log needs the name of a file.");
    if (options.json && !options.list)
        return WrongUsage("--json goes together with --list.");
    return {true, 0, std::string(), std::string()};
}

static CommandLine ParseWith(CLI::App& app, int argc, const char* const* argv, const RawTexts& texts,
                             ExportOptions& options)
{
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::CallForHelp&)
    {
        return {false, 0, app.help(), std::string()};
    }
    catch (const CLI::CallForVersion& version)
    {
        return {false, 0, std::string(version.what()) + "\n", std::string()};
    }
    catch (const CLI::ParseError& error)
    {
        const std::string sentence = error.what();
        return WrongUsage(sentence.empty() || sentence.back() == '.' ? sentence : sentence + ".");
    }
    return TakeTexts(app, texts, options);
}

CommandLine ParseExportOptions(int argc, const char* const* argv, ExportOptions& options)
{
    options = ExportOptions();
    std::vector<std::string> arguments(argv, argv + argc);
    std::string problem;
    if (!ExpandArgumentFiles(arguments, problem))
        return WrongUsage(problem);
    const std::string swallowed = FindSwallowedOption(arguments);
    if (!swallowed.empty())
        return WrongUsage(swallowed + " lacks its value.");

    RawTexts texts;
    bool keepAll = false;
    bool debug = false;
    bool noDebug = false;
    CLI::App app("Exports the animated scene of a glTF, FBX, Collada, ... file to an .abc model file.", "zoltexport");
    app.set_version_flag("--version", "zoltexport " ZOLT_VERSION);
    app.add_option(
           "scene", texts.scenes,
           "The scene files. The first gives the figure and its clip; each further one adds a clip, or all with "
           "--all-clips, to the model; all or nothing. @FILE stands for the words in FILE")
        ->required()
        ->type_name("SCENE...");
    app.add_option("-o,--output", texts.out,
                   "The model file; without it, that of the last run, at first model.abc in the current folder")
        ->type_name("FILE");
    app.add_option("-a,--anim", texts.anim, "The animation's name in the model file; without it, the clip's")
        ->type_name("NAME");
    app.add_option("--clip", texts.clip, "The clip to export; without it, the first")->type_name("NAME|INDEX");
    app.add_flag("--all-clips", options.allClips, "Export every clip into the one file, all or nothing");
    app.add_option("--fps", texts.fps,
                   "Frames per second, from 1 to 1000; auto, the default: the lowest of 24, 25, 30, 48, 50, 60 and 120 "
                   "at which every key of the exported clips lies on a frame, else what the file states, else 30")
        ->type_name("N|auto");
    app.add_option("--keys", texts.keys,
                   "Which frames get keys: shape, the default: those of the file and as few more as it takes to follow "
                   "its curves; authored: those of the file alone; every: all")
        ->type_name("shape|authored|every");
    app.add_option("--start", texts.start, "First frame, instead of that of the clip's first key")->type_name("F");
    app.add_option("--end", texts.end, "Last frame, instead of that of the clip's last key")->type_name("F");
    app.add_option("--rest", texts.rest,
                   "Where the skin of a fresh model is taken: auto, the default: at the bind pose, if a vertex would "
                   "stray by more than 0.1 % of the radius with the skin of the first frame, and less with that; bind; "
                   "first. Any other word counts as bind and --rest-name with that name, and no word as rest. A model "
                   "that is added to keeps its skin")
        ->type_name("[auto|bind|first]");
    app.add_option("--rest-name", texts.restName,
                   "Take the skin at the bind pose, and keep that as an animation of one frame ahead of the others; "
                   "without it, the model holds none for it")
        ->type_name("NAME");
    app.add_option("--scale", texts.scale,
                   "Scale the scene as a whole; files that state their unit (FBX, Collada) are in metres by then")
        ->type_name("S");
    app.add_option("--up", texts.up,
                   "Which axis of the model points up, if not y; files that state their up axis (FBX, Collada) are "
                   "turned to y up without this, other files are taken to be")
        ->type_name("y|z");
    app.add_flag("--flip-v", options.flipV, "Texture coordinates v become 1 - v");
    app.add_flag("--append", options.append, "Add the animation to the model file if it exists");
    app.add_flag("--fit", options.fit,
                 "Bring the scene into the shape of the model that it is added to: nodes go by name without a prefix "
                 "up to the last : or | and without case, in the model's order; what the scene lacks stands as at the "
                 "model's first key, what the model lacks is left out and its motion handed down");
    app.add_option("--keep", options.keep,
                   "Don't remove nodes of that name in a fresh export, even if they move no vertex; a shell pattern, "
                   "any number of times")
        ->type_name("NAME")
        ->allow_extra_args(false);
    app.add_flag("--keep-all", keepAll, "Remove no node");
    app.add_flag("--overwrite", options.overwrite,
                 "Replace the model file; with --append, only if it is no valid model");
    app.add_flag("--replace", options.replace,
                 "With --append: an animation of the same name gives way to the new one, which takes its place; "
                 "without it, the new one gets a number");
    app.add_flag("--watch", options.watch,
                 "Export again whenever a file of the scenes changes, until interrupted; a file that is there already "
                 "still wants --overwrite, or --append and --replace");
    auto* debugFlag = app.add_flag("--debug", debug, "Show each call of the scene library that fails");
    app.add_flag("--no-debug", noDebug, "Don't; without either, as in the last run")->excludes(debugFlag);
    app.add_option("--log", texts.log, "Where the log goes")->type_name("FILE");
    app.add_flag("--report", options.report, "Print how far the model strays from the scene, and what it lacks");
    app.add_option("--report-json", texts.report, "Write the same as JSON")->type_name("FILE");
    app.add_option(
           "--strict", texts.strict,
           "Write no file if the model strays by more than LIMIT percent of its radius (1) from the scene, as the "
           "weights above 5 % move it, those that a model keeps. LIMIT may be left out")
        ->type_name("[LIMIT]");
    app.add_option("--jobs", texts.jobs,
                   "How many threads hold the model against the scene, from 1 to 1024; without it, one for each "
                   "processor. The result is the same")
        ->type_name("N");
    app.add_flag(
        "-q,--quiet", options.quiet,
        "Say nothing but errors; --report and --list still print. Unless a report or --strict asks for it, the "
        "model isn't held against the scene then, which saves time");
    app.add_flag("--list", options.list, "Print what is in the scene and export nothing");
    app.add_flag("--json", options.json, "With --list: print it as JSON");
    app.footer("Exit status: 0 written, 1 not written, 2 wrong usage.");

    CompleteOptionalValues(arguments);
    std::vector<const char*> words;
    words.reserve(arguments.size());
    for (const std::string& argument : arguments)
        words.push_back(argument.c_str());
    CommandLine result = ParseWith(app, static_cast<int>(words.size()), words.data(), texts, options);
    if (keepAll)
        options.keep.emplace_back("*");
    if (debug || noDebug)
        options.debug = debug;
    return result;
}

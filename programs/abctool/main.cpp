// Looks into model files: abctool info | check | copy | pose.

#include "abctools/commands.h"
#include "abctools/displaytext.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <iostream>

constexpr int WRONG_USAGE = 2;

// CLI11 puts the type's name behind that of the argument, which says it all here.
static CLI::Option* AddFile(CLI::App& app, const char* pName, std::string& path, const char* pHelp)
{
    return app.add_option(pName, path, pHelp)->type_name("")->required();
}

static int WrongUsage(const std::string& sentence)
{
    std::cerr << "error: " << TerminalText(sentence) << (sentence.ends_with('.') ? "" : ".") << " Try --help.\n";
    return WRONG_USAGE;
}

static CLI::App* AddPose(CLI::App& app, PoseOptions& options, std::vector<std::string>& layers)
{
    CLI::App* pPose = app.add_subcommand("pose", "Evaluate a pose: node matrices, sockets, vertex positions");
    AddFile(*pPose, "FILE", options.m_Path, "A model file");
    pPose->add_option("--anim", options.m_Anim, "The animation, the model's own or a child model's")
        ->type_name("NAME")
        ->required();
    CLI::Option* pKey =
        pPose->add_option("--key", options.m_iKey, "At this key, counted from 0; either this or --time is needed")
            ->type_name("KEY");
    pPose
        ->add_option_function<double>(
            "--time", [&options](const double& time) { options.m_Time = time; },
            "At this time in milliseconds, clamped to the animation")
        ->type_name("MS")
        ->check([](const std::string& text)
                { return std::isfinite(std::strtod(text.c_str(), nullptr)) ? "" : "a time is a finite number"; })
        ->excludes(pKey);
    pPose->add_option("--layer", layers, "On top of what stands before it; may be given again")
        ->type_name("ANIM:MS:WEIGHTSET")
        ->check(
            [](const std::string& text)
            {
                PoseLayer layer;
                return ParsePoseLayer(text, layer) ? "" : "a layer is ANIM:MS:WEIGHTSET";
            })
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    CLI::Option* pNode = pPose->add_option("--node", options.m_Node, "Only this node's matrix")->type_name("NAME");
    pPose->add_option("--socket", options.m_Socket, "Only this socket's transform")->type_name("NAME")->excludes(pNode);
    pPose->add_option("--lod", options.m_iLOD, "The level of detail of the vertices, 0 if not given")->type_name("LOD");
    pPose
        ->add_option("--vertices", options.m_VerticesPath,
                     "Write vertex positions, piece by piece, into a .json, or a .bin for little-endian float32 "
                     "triples; a file that is there is replaced")
        ->type_name("FILE")
        ->check(
            [](const std::string& text)
            {
                const std::string extension = std::filesystem::path(text).extension().string();
                return extension == ".json" || extension == ".bin" ? "" : "the file is a .json or a .bin";
            });
    pPose->add_flag("--json", options.m_bJson, "Print JSON");
    pPose
        ->add_option("--child", options.m_Children,
                     "Link these model files as further child models, fitted by the bind poses")
        ->type_name("FILE");
    return pPose;
}

static int Run(int argc, char** argv)
{
    CLI::App app("Looks into model files (.abc).", "abctool");
    app.set_version_flag("--version", "abctool " ZOLT_VERSION);
    app.require_subcommand(1);

    std::string path;
    std::string outPath;
    std::vector<std::string> paths;
    bool bJson = false;
    bool bMemory = false;
    bool bExport = false;
    bool bQuiet = false;
    PoseOptions pose;
    std::vector<std::string> layers;

    CLI::App* pInfo = app.add_subcommand("info", "Show what files hold");
    pInfo->add_option("FILE", paths, "Model files")->type_name("")->required();
    pInfo->add_flag("--json", bJson, "Print JSON: an object, or a list of them for several files");
    pInfo->add_flag("--memory", bMemory, "Show the memory that loads take, against what the header announces");

    CLI::App* pCheck =
        app.add_subcommand("check", "Verify files: a line for each fault, exit status 1 if there is one");
    pCheck->add_option("FILE", paths, "Model files")->type_name("")->required();
    pCheck->add_flag("--export", bExport, "Also what holds for every finished export");
    pCheck->add_flag("--quiet", bQuiet, "Faults only");

    CLI::App* pCopy = app.add_subcommand("copy", "Load a file and save it, as version 12; an existing OUT is replaced");
    AddFile(*pCopy, "IN", path, "A model file");
    AddFile(*pCopy, "OUT", outPath, "The file to write, which may be IN; one that is there is replaced as a whole");

    CLI::App* pPose = AddPose(app, pose, layers);

    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::Success& success) // --help or --version
    {
        return app.exit(success, std::cout, std::cerr);
    }
    catch (const CLI::ParseError& error)
    {
        const std::string first = argc > 1 ? argv[1] : "";
        if (app.get_subcommands().empty() && !first.empty() && first[0] != '-')
            return WrongUsage("there is no command " + first);
        return WrongUsage(error.what());
    }
    if (*pPose && !pose.m_iKey && !pose.m_Time)
        return WrongUsage("pose needs --key or --time");

    if (*pInfo)
        return RunInfo(paths, bJson, bMemory, std::cout, std::cerr);
    if (*pCheck)
        return RunCheck(paths, bExport, bQuiet, std::cout, std::cerr);
    if (*pCopy)
        return RunCopy(path, outPath, std::cerr);
    for (const std::string& text : layers)
    {
        pose.m_Layers.emplace_back();
        ParsePoseLayer(text, pose.m_Layers.back());
    }
    return RunPose(pose, std::cout, std::cerr);
}

int main(int argc, char** argv)
{
    std::signal(SIGXFSZ, SIG_IGN); // a file that grows too large is a write that fails
    try
    {
        const int status = Run(argc, argv);
        // A full disk shows here at the latest.
        if (std::cout.flush())
            return status;
        std::cerr << "error: The output can't be written.\n";
    }
    catch (const std::exception& error)
    {
        std::cerr << "error: " << error.what() << '\n';
    }
    catch (...)
    {
        std::cerr << "error: unknown error\n";
    }
    return 1;
}

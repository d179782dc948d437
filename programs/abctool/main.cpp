// Looks into model files: abctool info | check | copy | pose.

#include "abctools/commands.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <filesystem>
#include <iostream>

constexpr int WRONG_USAGE = 2;

static void AddPose(CLI::App& app, PoseOptions& options, std::vector<std::string>& layers)
{
    CLI::App* pPose = app.add_subcommand("pose", "Evaluate a pose: node matrices, sockets, vertex positions");
    pPose->add_option("FILE", options.m_Path, "A model file")->required();
    pPose->add_option("--anim", options.m_Anim, "The animation, the model's own or a child model's")->required();
    CLI::Option_group* pWhen = pPose->add_option_group("when");
    pWhen->add_option("--key", options.m_iKey, "At this key, counted from 0");
    pWhen
        ->add_option_function<double>(
            "--time", [&options](const double& time) { options.m_Time = time; },
            "At this time in milliseconds, clamped to the animation")
        ->check([](const std::string& text)
                { return std::isfinite(std::strtod(text.c_str(), nullptr)) ? "" : "a time is a finite number"; });
    pWhen->require_option(1);
    pPose->add_option("--layer", layers, "ANIM:MS:WEIGHTSET on top of what stands before it")
        ->check(
            [](const std::string& text)
            {
                PoseLayer layer;
                return ParsePoseLayer(text, layer) ? "" : "a layer is ANIM:MS:WEIGHTSET";
            })
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    CLI::Option* pNode = pPose->add_option("--node", options.m_Node, "Only this node's matrix");
    pPose->add_option("--socket", options.m_Socket, "Only this socket's transform")->excludes(pNode);
    pPose->add_option("--lod", options.m_iLOD, "The level of detail of the vertices, 0 if not given");
    pPose
        ->add_option("--vertices", options.m_VerticesPath,
                     "Write vertex positions, piece by piece: OUT.json, or OUT.bin for little-endian float32 triples")
        ->check(
            [](const std::string& text)
            {
                const std::string extension = std::filesystem::path(text).extension().string();
                return extension == ".json" || extension == ".bin" ? "" : "the file is a .json or a .bin";
            });
    pPose->add_flag("--json", options.m_bJson, "Print JSON");
    pPose->add_option("--child", options.m_Children,
                      "Link these model files as further child models, fitted by the bind poses");
}

static int Run(int argc, char** argv)
{
    CLI::App app("Looks into model files (.abc).", "abctool");
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

    CLI::App* pInfo = app.add_subcommand("info", "Show what a file holds");
    pInfo->add_option("FILE", path, "A model file")->required();
    pInfo->add_flag("--json", bJson, "Print JSON");
    pInfo->add_flag("--memory", bMemory, "Show the memory that loads take, against what the header announces");

    CLI::App* pCheck =
        app.add_subcommand("check", "Verify files: a line for each fault, exit status 1 if there is one");
    pCheck->add_option("FILE", paths, "Model files")->required();
    pCheck->add_flag("--export", bExport, "Also what holds for every finished export");
    pCheck->add_flag("--quiet", bQuiet, "Faults only");

    CLI::App* pCopy = app.add_subcommand("copy", "Load a file and save it, as version 12");
    pCopy->add_option("IN", path, "A model file")->required();
    pCopy->add_option("OUT", outPath, "The file to write; may be IN")->required();

    AddPose(app, pose, layers);

    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? 0 : WRONG_USAGE;
    }

    if (*pInfo)
        return RunInfo(path, bJson, bMemory, std::cout, std::cerr);
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
    try
    {
        return Run(argc, argv);
    }
    catch (const std::exception& error)
    {
        std::cerr << "abctool: " << error.what() << '\n';
    }
    catch (...)
    {
        std::cerr << "abctool: unknown error\n";
    }
    return 1;
}

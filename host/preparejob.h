// From a clip to what the plug-in is shown of it.
#pragma once

#include "saa/recordedscene.h"
#include "scene/scene.h"

#include <string>
#include <vector>

struct AppendTarget;
struct ExportOptions;

struct PreparedJob
{
    const Scene* scene = nullptr; // the original, or `fitted`
    RecordedSceneOptions options;
    Scene fitted;
    std::vector<int> sceneNodes;       // PlayedClip
    std::vector<std::string> lines;    // what was done, to be said
    std::vector<std::string> warnings; // sentences
};

// What of the clip (-1 for the scene at rest) is recorded, and on which frames it has further keys. `model` is the one
// that the animation is going to be added to, to which the scene is fitted if the options say so; null where the scene
// goes by itself. Nothing but the original must outlive the result, which isn't to be moved. False with a sentence in
// `error` if the scene has nothing to do with the model that it should fit.
bool PrepareJob(const Scene& scene, int clip, const ExportOptions& options, const AppendTarget* model, PreparedJob& job,
                std::string& error);

// The file that a run writes: that of the options, else what the dialog is going to offer, made absolute.
std::string FindTarget(const ExportOptions& options);

// Why the scene can't be exported, as a sentence; empty if it can. Without triangles it can only be added to a model.
std::string FindSceneProblem(const Scene& scene, const ExportOptions& options);

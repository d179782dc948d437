#include "host/preparejob.h"

#include "host/exportoptions.h"
#include "host/exportsettings.h"
#include "host/keepnodes.h"
#include "host/sceneclips.h"
#include "host/scenefit.h"

#include <filesystem>
#include <system_error>

static RecordedSceneOptions MakeRecordedOptions(const Scene& scene, int clip, const ExportOptions& options,
                                                const ShapeKeyModel& model)
{
    RecordedSceneOptions recorded;
    recorded.clip = clip;
    recorded.fps = options.fps;
    const ClipRange range = FindPlayRange(scene, clip, options);
    recorded.start = range.start;
    recorded.end = range.end;
    if (clip >= 0 && options.keys == KeyChoice::Shape)
        recorded.extraKeys = FindShapeKeys(scene, clip, options.fps, range.start, range.end, model);
    for (int frame = range.start; options.keys == KeyChoice::Every && frame <= range.end; frame++)
        recorded.extraKeys.push_back(frame);
    return recorded;
}

bool PrepareJob(const Scene& scene, int clip, const ExportOptions& options, const AppendTarget* model, PreparedJob& job,
                std::string& error)
{
    job = PreparedJob();
    job.scene = &scene;
    if (model)
    {
        const SceneFit fit(*model, scene, clip);
        if (options.fit && fit.CountNamed() == 0)
        {
            error = "No node of the scene is called as one of the model; --fit has nothing to go by.";
            return false;
        }
        const RecordedSceneOptions plain = MakeRecordedOptions(scene, clip, options, fit.KeyModel());
        job.options = plain;
        if (options.fit)
        {
            fit.Fit(plain, job.fitted, job.options);
            job.scene = &job.fitted;
            job.sceneNodes = fit.SceneNodes();
            job.lines = fit.Describe();
            job.warnings = fit.DescribeDoubts();
        }
        for (const std::string& doubt : {fit.CompareBones(plain, options.scale), fit.CompareUp(options.up == 'z')})
        {
            if (!doubt.empty())
                job.warnings.push_back(doubt);
        }
        return true;
    }
    ShapeKeyModel keyModel;
    if (!options.keep.empty())
    {
        RecordedScene recorded(scene, RecordedSceneOptions());
        keyModel.keeps = KeepWishes(recorded, options.keep).Nodes();
    }
    job.options = MakeRecordedOptions(scene, clip, options, keyModel);
    return true;
}

std::string FindTarget(const ExportOptions& options)
{
    if (!options.outPath.empty())
        return options.outPath;
    const ExportSettings settings = ReadExportSettings();
    std::error_code error;
    return std::filesystem::absolute(settings.filename.has ? settings.filename.text : "model.abc", error).string();
}

std::string FindSceneProblem(const Scene& scene, const ExportOptions& options)
{
    if (HasTriangles(scene))
        return std::string();
    const std::string bare = "There are no triangles in " + options.scenePath;
    if (scene.roots.empty())
        return bare + ".";
    if (!options.append)
        return bare + "; --append adds its animation to a model file.";
    AppendTarget target;
    const std::string path = FindTarget(options);
    return LoadAppendTarget(path, target)
               ? std::string()
               : bare + ", and " + path + " is no model file that its animation could be added to.";
}

#include "abctools/commands.h"
#include "abctools/jsontext.h"
#include "abctools/modelfile.h"
#include "abctools/picture.h"
#include "commandline/progressbar.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelfolder.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <memory>

int RunPicture(const PictureOptions& options, std::ostream& out, std::ostream& err)
{
    QuietAssertions quiet;
    std::vector<uint8_t> bytes;
    std::string error;
    ModelFolder folder(FolderOf(options.m_Path).c_str());
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    LoadRequest request;
    folder.Attach(&request);
    Picture picture;
    ProgressBar bar("drawing");
    PictureOptions drawn = options;
    drawn.m_Progress = [&bar](size_t nDone, size_t nAll) { bar.Show(nDone, nAll); };
    const bool bDrawn = ReadModelBytes(options.m_Path, bytes, error) && LoadModelBytes(bytes, model, request, error) &&
                        DrawPicture(model, drawn, picture, error);
    bar.Clear();
    if (!bDrawn)
    {
        err << ErrorLine(options.m_Path, error);
        return STATUS_FAILED;
    }
    const std::vector<uint8_t> png = PngBytes(picture);
    if (png.empty())
        error = "it can't be made without more memory";
    if (png.empty() || !WriteWholeFile(options.m_OutPath, png, error))
    {
        err << ErrorLine(options.m_OutPath, error);
        return STATUS_FAILED;
    }
    if (options.m_bJson)
        out << JsonText({{"file", ToUtf8(options.m_Path)},
                         {"out", ToUtf8(options.m_OutPath)},
                         {"bytes", png.size()},
                         {"width", picture.m_Width},
                         {"height", picture.m_Height},
                         {"times", picture.m_Times}});
    return STATUS_RIGHT;
}

static std::string TakeSize(const std::string& text, PictureOptions& options)
{
    const char* pEnd = text.data() + text.size();
    const auto [pCross, code] = std::from_chars(text.data(), pEnd, options.m_Width);
    if (code != std::errc() || pCross == pEnd || *pCross != 'x')
        return "needs WxH";
    const auto [pLast, codeBehind] = std::from_chars(pCross + 1, pEnd, options.m_Height);
    if (codeBehind != std::errc() || pLast != pEnd || options.m_Width == 0 || options.m_Height == 0)
        return "needs WxH";
    return std::string();
}

static std::string CheckPictureOptions(const PictureOptions& options, bool bTime)
{
    if (options.m_nStrip > MAX_PICTURE_STRIP)
        return "--strip takes up to " + std::to_string(MAX_PICTURE_STRIP) + " poses";
    if (options.m_nStrip > 0 && bTime)
        return "--strip and --time don't go together";
    if (uint64_t{options.m_Width} * std::max(options.m_nStrip, 1u) > MAX_PICTURE_SIZE ||
        options.m_Height > MAX_PICTURE_SIZE)
        return "a picture has up to " + std::to_string(MAX_PICTURE_SIZE) + " pixels along each side";
    return std::string();
}

Command MakePictureCommand()
{
    struct State
    {
        PictureOptions m_Options;
        std::optional<double> m_Time;
    };
    const auto pState = std::make_shared<State>();
    PictureOptions& picture = pState->m_Options;
    Command command;
    command.m_Name = "picture";
    command.m_Summary = "Draw a picture of a model, or of several of its poses side by side, as PNG";
    CommandOptions& options = command.m_Options;
    options.AddFile("FILE", picture.m_Path, "A model file");
    options.AddFile("OUT", picture.m_OutPath, "The picture; a file that is there is replaced");
    options.AddText("--anim", "NAME", picture.m_Anim, "The animation; if not given, the first");
    options.AddNumber("--time", "MS", pState->m_Time, "The time in milliseconds, 0 if not given");
    options.AddOperation(
        "--size", "WxH",
        [pState](const std::vector<std::string>& values) { return TakeSize(values[0], pState->m_Options); },
        "The size in pixels, with --strip that of each pose; 640x640 if not given, in a strip 240x360");
    options.AddCount("--strip", "N", picture.m_nStrip, "So many poses side by side, over the length of the animation");
    options.AddFlag("--json", picture.m_bJson, "Print what was made as JSON");
    command.m_Examples = {{"abctool picture strider.abc strider.png", "The first animation at its start."},
                          {"abctool picture strider.abc walk.png --anim walk --strip 8", "A walk at a glance."}};
    command.m_Check = [pState] { return CheckPictureOptions(pState->m_Options, pState->m_Time.has_value()); };
    command.m_Run = [pState](std::ostream& out, std::ostream& err)
    {
        pState->m_Options.m_Time = pState->m_Time.value_or(0.0);
        return RunPicture(pState->m_Options, out, err);
    };
    return command;
}

// The commands of abctool. Each prints its result to `out` and sentences about failures to `err`, and returns the exit
// status: 0, or 1 after a failure, of one file if there are several (or, for RunCheck, a fault).
#pragma once

#include "abctools/edit/editoptions.h"
#include "abctools/picture.h"
#include "abctools/pose.h"
#include "commandline/command.h"

#include <ostream>
#include <string>
#include <vector>

struct InfoOptions
{
    std::vector<std::string> m_Paths;
    bool m_bJson = false;
    bool m_bMemory = false;
    bool m_bTable = false; // one table in place of pages
};

// A page or a JSON object for each file; of several files, pages that begin with the file's name, or one JSON array.
// Of files that can't be read there is no page; in JSON they have `file` and `error` alone.
int RunInfo(const InfoOptions& options, std::ostream& out, std::ostream& err);
int RunInfo(const std::vector<std::string>& paths, bool bJson, bool bMemory, std::ostream& out, std::ostream& err);

// A line for each fault, "FILE: fault", and one for a file without any, unless quiet. What doesn't make a file invalid
// is told as "FILE: warning: ..." (unless quiet); with bExport, what no export writes counts as a fault. With bJson an
// object for each file, of several files in one array.
struct CheckOptions
{
    std::vector<std::string> m_Paths;
    bool m_bExport = false;
    bool m_bQuiet = false;
    bool m_bJson = false;
    std::string m_FixPath = std::string(); // mend the one file instead: see RunFix
};

int RunCheck(const CheckOptions& options, std::ostream& out, std::ostream& err);
int RunCheck(const std::vector<std::string>& paths, bool bExport, bool bQuiet, std::ostream& out, std::ostream& err);

// Mends the one model (fixmodel.h) and writes the result to m_FixPath; tells what was done and what the file had that
// the result hasn't. With faults left, which are told, nothing is written and the status is 1.
int RunFix(const CheckOptions& options, std::ostream& out, std::ostream& err);

struct CopyOptions
{
    std::string m_InPath;
    std::string m_OutPath;
    bool m_bJson = false;
};

// Loads a model, with the child models of its folder, so that their bindings are kept, and saves it. The stamp moves on
// as with any save. Both paths may name one file; on failure OUT isn't touched.
int RunCopy(const CopyOptions& options, std::ostream& out, std::ostream& err);

int RunPose(const PoseOptions& options, std::ostream& out, std::ostream& err);

struct ConvertOptions
{
    std::string m_InPath;
    std::string m_OutPath; // its extension says what is written
    bool m_bJson = false;
};

// A glTF scene of the model (modeltogltf.h), which is replaced as a whole or, on failure, not at all.
int RunConvert(const ConvertOptions& options, std::ostream& out, std::ostream& err);

struct ViewTexture
{
    uint32_t m_Index = 0;
    std::string m_Path;
};

struct ViewOptions
{
    std::vector<std::string> m_Paths;
    std::string m_OutPath; // empty: beside the first model
    bool m_bOpen = false;
    std::vector<ViewTexture> m_Textures;
    bool m_bJson = false;
};

// A page for the browser (viewpage.h). The page's place is printed if it wasn't given.
int RunView(const ViewOptions& options, std::ostream& out, std::ostream& err);

// A PNG (picture.h), which is replaced as a whole or, on failure, not at all.
int RunPicture(const PictureOptions& options, std::ostream& out, std::ostream& err);

struct DiffOptions
{
    std::string m_PathA;
    std::string m_PathB;
    std::optional<double> m_Tolerance = std::nullopt; // 0 for none
    bool m_bJson = false;
};

// A line for each difference (modeldiff.h), or one JSON document. Status 1 if there is one.
int RunDiff(const DiffOptions& options, std::ostream& out, std::ostream& err);

// Carries out operations on a model, with its child models as in RunCopy, and saves it, or with m_bDryRun only tells
// what they would do. If one fails, or the result would have a fault that the model hasn't, nothing is written.
int RunEdit(const EditOptions& options, std::ostream& out, std::ostream& err);

struct AppendOptions
{
    std::string m_InPath;
    std::vector<std::string> m_SourcePaths;
    std::string m_OutPath;
    std::vector<std::string> m_Anims; // only these; empty: all
    bool m_bReplace = false;          // in the place of one of the same name
    bool m_bFit = false;              // by node names where the trees differ
    bool m_bJson = false;
};

// Adds the own animations of other models to a model (ConvModel::AddAnims, or AnimFit), all or nothing.
int RunAppend(const AppendOptions& options, std::ostream& out, std::ostream& err);

// The same as commands of a program, with their options, help and examples: see commandtable.cpp.
Command MakeInfoCommand();
Command MakeCheckCommand();
Command MakeCopyCommand();
Command MakePoseCommand();
Command MakeDiffCommand();
Command MakeConvertCommand();
Command MakeViewCommand();
Command MakePictureCommand();
Command MakeEditCommand();
Command MakeAppendCommand();
Command MakeHelpCommand();

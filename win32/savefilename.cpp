// The file chooser.
#include "win32/dialoguser.h"

#include <cstring>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

static bool NamesFile(const fs::path& path)
{
    return path.has_filename() && path.filename() != "." && path.filename() != "..";
}

std::string ResolveSaveFile(const SaveFileQuestion& question)
{
    if (question.chosen.empty())
        return std::string();
    std::error_code error;
    fs::path path = fs::path(question.folder) / question.chosen; // an absolute name replaces the folder
    path = fs::absolute(path, error);
    const bool bare = NamesFile(path) && !path.has_extension() && !fs::is_directory(path, error);
    if (bare && !question.defaultExtension.empty())
        path += "." + question.defaultExtension;
    return path.string();
}

std::string SaveFileProblem(const SaveFileQuestion& question)
{
    const fs::path path = ResolveSaveFile(question);
    std::error_code error;
    if (!NamesFile(path) || fs::is_directory(path, error))
        return "\"" + question.chosen + "\" is not the name of a file.";
    if (question.pathMustExist && !fs::is_directory(path.parent_path(), error))
        return "The folder " + path.parent_path().string() + " does not exist.";
    return std::string();
}

// Pairs of zero-terminated strings, up to an empty one.
static std::vector<std::pair<std::string, std::string>> SplitFilter(LPCSTR filter)
{
    std::vector<std::pair<std::string, std::string>> pairs;
    while (filter && *filter)
    {
        const std::string shown = filter;
        filter += shown.size() + 1;
        const std::string pattern = filter;
        filter += pattern.size() + 1;
        pairs.emplace_back(shown, pattern);
    }
    return pairs;
}

// Copies the text if the buffer has room for it and its end.
static bool CopyIfFits(const char* text, LPSTR buffer, DWORD size)
{
    const size_t bytes = std::strlen(text) + 1;
    if (!buffer || bytes > size)
        return false;
    std::memcpy(buffer, text, bytes);
    return true;
}

static bool MayReplace(const std::string& path)
{
    std::error_code error;
    if (!fs::exists(path, error))
        return true;
    const std::string text = path + " already exists.\nDo you want to replace it?";
    return MessageBoxA(nullptr, text.c_str(), "Confirm Save As", MB_YESNO) == IDYES;
}

static SaveFileQuestion MakeQuestion(const OPENFILENAMEA& record)
{
    SaveFileQuestion question;
    question.title = record.lpstrTitle ? record.lpstrTitle : "Save As";
    question.filters = SplitFilter(record.lpstrFilter);
    question.defaultExtension = record.lpstrDefExt ? record.lpstrDefExt : "";
    question.startingName = record.lpstrFile;
    question.folder = record.lpstrInitialDir ? record.lpstrInitialDir : "";
    question.pathMustExist = (record.Flags & OFN_PATHMUSTEXIST) != 0;
    return question;
}

extern "C" BOOL WINAPI GetSaveFileNameA(LPOPENFILENAMEA record)
{
    if (!record || record->lStructSize != sizeof(OPENFILENAMEA) || !record->lpstrFile || record->nMaxFile == 0)
        return FALSE;
    SaveFileQuestion question = MakeQuestion(*record);
    if (!GetDialogUser() || !GetDialogUser()->ChooseSaveFile(question) || !SaveFileProblem(question).empty())
        return FALSE;
    const std::string path = ResolveSaveFile(question);
    if ((record->Flags & OFN_OVERWRITEPROMPT) != 0 && !MayReplace(path))
        return FALSE;
    if (!CopyIfFits(path.c_str(), record->lpstrFile, record->nMaxFile))
        return FALSE;
    const size_t nameOffset = path.rfind('/') + 1; // 0 without a folder
    const size_t dot = path.rfind('.');
    record->nFileOffset = static_cast<WORD>(nameOffset);
    record->nFileExtension = dot == std::string::npos || dot < nameOffset ? WORD{0} : static_cast<WORD>(dot + 1);
    CopyIfFits(path.c_str() + nameOffset, record->lpstrFileTitle, record->nMaxFileTitle);
    return TRUE;
}

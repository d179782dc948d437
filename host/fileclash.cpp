#include "host/fileclash.h"

#include "host/exportoptions.h"

#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace fs = std::filesystem;

static constexpr int MAX_LINKS = 40;

// A path for a file that needn't be there: also a link that leads nowhere is followed, for what is written through it
// comes into being at its end.
static fs::path FindEnd(const std::string& path)
{
    std::error_code error;
    fs::path end = fs::absolute(path, error);
    for (int i = 0; i < MAX_LINKS && !fs::exists(end, error) && fs::is_symlink(end, error); i++)
        end = end.parent_path() / fs::read_symlink(end, error);
    return fs::weakly_canonical(end, error);
}

static bool IsSameFile(const std::string& one, const std::string& other)
{
    if (one.empty() || other.empty())
        return false;
    struct stat oneState = {}, otherState = {};
    if (stat(one.c_str(), &oneState) == 0 && stat(other.c_str(), &otherState) == 0)
        return S_ISREG(oneState.st_mode) && oneState.st_dev == otherState.st_dev &&
               oneState.st_ino == otherState.st_ino;
    return !FindEnd(one).empty() && FindEnd(one) == FindEnd(other);
}

std::string FindOutputProblem(const std::string& target)
{
    const fs::path path(target);
    std::error_code error;
    if (target.empty())
        return std::string();
    if (fs::is_directory(path, error) || !path.has_filename())
        return "The output file is a folder: " + target;
    const fs::path folder = path.parent_path();
    if (fs::is_directory(folder, error))
        return std::string();
    return "The output file can't be written: " + folder.string() +
           (fs::exists(folder, error) ? " is no folder." : " doesn't exist.");
}

std::string FindFileClash(const Scene& scene, const ExportOptions& options, const std::string& target,
                          const std::string& logPath)
{
    const struct
    {
        std::string role;
        const std::string& path;
    } written[] = {{"output file", target}, {"log", logPath}, {"report", options.reportPath}};
    for (const auto& file : written)
    {
        if (IsSameFile(file.path, options.scenePath))
            return "The " + file.role + " is the scene file itself.";
        for (const std::string& part : scene.files)
        {
            if (IsSameFile(file.path, part))
                return "The " + file.role + " is a file that the scene refers to: " + part;
        }
        for (const auto* other = &file + 1; other != std::end(written); other++)
        {
            if (IsSameFile(file.path, other->path))
                return "The " + file.role + " and the " + other->role + " are the same file: " + file.path;
        }
    }
    return std::string();
}

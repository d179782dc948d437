#include "host/reportfile.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include <unistd.h>

namespace fs = std::filesystem;

static constexpr std::uintmax_t MAX_REPORT = std::uintmax_t(64) << 20U; // more is no report of ours

static std::string Refusal(const std::string& path, int reason)
{
    return "The report can't be written to " + path + ": " + std::generic_category().message(reason) + ".";
}

bool WriteReportFile(const std::string& path, const std::string& text, std::string& error)
{
    FILE* file = std::fopen(path.c_str(), "wb");
    bool written = file && std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
    const int reason = errno;
    written = file && std::fclose(file) == 0 && written;
    if (!written)
        error = Refusal(path, reason);
    return written;
}

bool CheckReportFile(const std::string& path, std::string& error)
{
    std::error_code code;
    int reason = fs::is_directory(path, code) ? EISDIR : 0;
    if (reason == 0 && fs::exists(path, code))
        reason = access(path.c_str(), W_OK) == 0 ? 0 : errno;
    else if (reason == 0)
        reason = access((fs::path(path).parent_path() / ".").c_str(), W_OK | X_OK) == 0 ? 0 : errno;
    if (reason != 0)
        error = Refusal(path, reason);
    return reason == 0;
}

void ReplaceOldReport(const std::string& path, const std::string& text)
{
    std::error_code code;
    if (!fs::is_regular_file(path, code) || fs::file_size(path, code) > MAX_REPORT)
        return;
    std::ifstream file(path, std::ios::binary);
    const auto old = nlohmann::json::parse(file, nullptr, false);
    file.close();
    std::string error;
    if (old.is_object() && old.contains("written") && old["written"].is_boolean())
        WriteReportFile(path, text, error);
}

// The file that a report for a script goes to.
#pragma once

#include <string>

// Replaces what is in the file. False with a sentence in `error` that names file and reason.
bool WriteReportFile(const std::string& path, const std::string& text, std::string& error);

// Whether it looks as if the file could be written; nothing is touched. As WriteReportFile.
bool CheckReportFile(const std::string& path, std::string& error);

// Replaces the report of an earlier run by `text`; anything else is left alone.
void ReplaceOldReport(const std::string& path, const std::string& text);

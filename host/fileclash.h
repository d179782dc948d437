// Files of one run that would destroy one another.
#pragma once

#include "scene/scene.h"

#include <string>

struct ExportOptions;

// Why nothing can be written to that path, as a sentence; empty if it may go: a folder stands there, or its own folder
// doesn't. An empty path is one that isn't known yet.
std::string FindOutputProblem(const std::string& target);

// Why the run must not write its files, as a sentence; empty if it may. No two of output, log and report may be the
// same file, and none of them may be the scene's file or one that the scene refers to. What isn't a regular file can be
// any of them, for nothing in it is lost. `target` is the output file, empty as long as it isn't known; so is `logPath`
// if there is no log.
std::string FindFileClash(const Scene& scene, const ExportOptions& options, const std::string& target,
                          const std::string& logPath);

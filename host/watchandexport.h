// An export that is repeated.
#pragma once

struct ExportOptions;
struct ExportSurroundings;

// Exports, and again whenever a file that the scenes are read from has changed, until the process is interrupted. What
// goes wrong with an export is told, and the next change tries it again. Comes back, with a status other than 0, only
// where files can't be watched, or where a file is there that must not be replaced.
int WatchAndExport(const ExportOptions& asked, ExportSurroundings surroundings);

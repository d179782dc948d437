// Text out of model files, which may hold any bytes, on its way to a terminal or into JSON.
#pragma once

#include <string>
#include <string_view>

// Text that is valid UTF-8 stays as it is; any other is taken for Latin-1, byte by byte. The result is valid UTF-8 and
// may hold control characters, which a JSON writer escapes.
std::string ToUtf8(std::string_view bytes);

// For a terminal: `ToUtf8`, and control characters, line and paragraph separators and the marks that turn the direction
// of writing become \xNN or \u{NNNN}; a backslash is doubled.
std::string TerminalText(std::string_view bytes);

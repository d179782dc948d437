#pragma once

// The boolean of the code base: as wide as an int, 0 is false, everything else is true.
typedef int QZBOOL;

constexpr QZBOOL QZFALSE = 0;
constexpr QZBOOL QZTRUE = 1;

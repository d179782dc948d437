// Libraries of this system that a program loads when a file needs them.
#pragma once

#include <string>

// The address of a function in a library that lies in the folder "lib" beside the program's own. Null, with the
// loader's sentence in `reason`, if that can't be had. The library stays loaded, and the address known: what it has set
// up once serves the next file.
void* LoadAddress(const char* library, const char* function, std::string& reason);

// The same as a function of its type: LoadFunction<decltype(ZoltReadAssimpScene)>(...).
template <class Function> Function* LoadFunction(const char* library, const char* function, std::string& reason)
{
    return reinterpret_cast<Function*>(LoadAddress(library, function, reason));
}

// Whole files, and the parts of their names.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The length of a regular file that can be opened. On failure `error` says what is wrong, without the path, as the end
// of a sentence: "can't be opened: No such file or directory".
bool FindFileLength(const std::string& path, std::uintmax_t& length, std::string& error);

// Reads a regular file of up to 2 GiB. Fails as FindFileLength does.
bool ReadFileBytes(const std::string& path, std::vector<unsigned char>& bytes, std::string& error);

// "a/b/Fox.glb": the file's name is "Fox.glb", its stem "Fox", its extension "glb" (in lower case), its folder "a/b".
std::string FileNameOf(const std::string& path);
std::string FileStemOf(const std::string& path);
std::string FileExtensionOf(const std::string& path);
std::string FileFolderOf(const std::string& path);

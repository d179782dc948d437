#pragma once

#include "abctools/edit/editoperation.h"

#include <string>
#include <vector>

// An operation, or a file of them.
struct EditSource
{
    enum class Kind
    {
        Step,
        Lines,
        Json
    };

    Kind m_Kind;
    std::vector<EditStep> m_Step; // one, for that kind
    std::string m_Path;           // for the others
};

struct EditOptions
{
    std::string m_InPath;
    std::string m_OutPath; // for a dry run, where it would be written
    std::vector<EditSource> m_Sources;
    bool m_bDryRun = false;
    bool m_bJson = false;
};

#pragma once

#include <string>
#include <vector>

#include "zoltshared/stdzolt/assertion.h"

// Catches the expressions of broken checks while it lives.
class AssertionCatcher
{
public:
    AssertionCatcher() : m_Old(SetAssertionSink(Catch)) { Caught().clear(); }
    ~AssertionCatcher() { SetAssertionSink(m_Old); }
    AssertionCatcher(const AssertionCatcher&) = delete;
    AssertionCatcher& operator=(const AssertionCatcher&) = delete;

    static std::vector<std::string>& Caught()
    {
        static std::vector<std::string> caught;
        return caught;
    }

private:
    static void Catch(const char* expression, const char*, int) { Caught().push_back(expression); }

    AssertionSink m_Old;
};

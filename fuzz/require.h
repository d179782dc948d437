#pragma once

// A promise that was broken: says which one and ends the process, as a fuzzer expects of a finding.
[[noreturn]] void ReportBrokenPromise(const char* pPromise, const char* pFile, int line);

#define FUZZ_REQUIRE(condition)                                                                                        \
    (static_cast<bool>(condition) ? void() : ReportBrokenPromise(#condition, __FILE__, __LINE__))

// Lets broken checks of the model code end the process while it lives, but for those that a file may cause: bindings
// that don't fit, and sockets on nodes too deep for a path.
class StrictAssertions
{
public:
    StrictAssertions();
    ~StrictAssertions();
    StrictAssertions(const StrictAssertions&) = delete;
    StrictAssertions& operator=(const StrictAssertions&) = delete;

private:
    void (*m_pOld)(const char* expression, const char* file, int line);
};

// What the program tells its user on stderr while it works.
#pragma once

#include <cstdio>
#include <string>

class Console
{
public:
    // `out` stays the caller's. A quiet console shows errors alone; only a terminal gets a progress bar.
    Console(FILE* out, bool quiet, bool terminal) : m_Out(out), m_Quiet(quiet), m_Terminal(terminal) {}
    ~Console() { ClearBar(); }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    // Lines of text. Control characters in it come out as '?'.
    void Error(const std::string& sentence);
    void Warning(const std::string& sentence);
    void Say(const std::string& text);
    void Show(const std::string& text); // also when quiet: what a question that follows is about

    // Which frames the progress bar runs over.
    void SetFrames(int start, int end);
    // The scene stands on that frame now.
    void ShowFrame(int frame);
    // Takes the bar away, so that others can write to the terminal.
    void ClearBar();

private:
    void PrintLine(const char* prefix, const std::string& text);

    FILE* m_Out;
    bool m_Quiet;
    bool m_Terminal;
    long long m_Start = 0;
    long long m_End = 0;
    int m_ShownSteps = -1; // how much of the bar is on the screen, -1: no bar
};

// The text with control characters, which could move the cursor or recolour the screen, replaced by '?'.
std::string PrintableText(const std::string& text);

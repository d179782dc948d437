#pragma once

#include <chrono>
#include <string>

// How far a job has come, on stderr, for somebody at a terminal: nothing shows in the first second, nor anywhere else.
class ProgressBar
{
public:
    // What is being done, as a word: "checking".
    explicit ProgressBar(std::string label);
    ~ProgressBar() { Clear(); }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // May be called as often as one likes.
    void Show(size_t nDone, size_t nAll);
    // Takes the bar away, so that others can write to the terminal.
    void Clear();

private:
    std::string m_Label;
    bool m_bTerminal;
    std::chrono::steady_clock::time_point m_Next; // nothing new shows before
    bool m_bShown = false;
};

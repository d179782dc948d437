#include "commandline/progressbar.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <unistd.h>

static constexpr std::chrono::milliseconds FIRST_TIME(1000);
static constexpr std::chrono::milliseconds BETWEEN(100);
static constexpr size_t NUM_STEPS = 40;

ProgressBar::ProgressBar(std::string label)
    : m_Label(std::move(label)), m_bTerminal(isatty(STDERR_FILENO) != 0),
      m_Next(std::chrono::steady_clock::now() + FIRST_TIME)
{
}

void ProgressBar::Show(size_t nDone, size_t nAll)
{
    const auto now = std::chrono::steady_clock::now();
    if (!m_bTerminal || nAll == 0 || now < m_Next)
        return;
    m_Next = now + BETWEEN;
    m_bShown = true;
    const size_t nSteps = NUM_STEPS * std::min(nDone, nAll) / nAll;
    const std::string bar = std::string(nSteps, '#') + std::string(NUM_STEPS - nSteps, '.');
    std::fprintf(stderr, "\r%s [%s] %3zu %%", m_Label.c_str(), bar.c_str(), 100 * std::min(nDone, nAll) / nAll);
    std::fflush(stderr);
}

void ProgressBar::Clear()
{
    if (m_bShown)
        std::fputs("\r\033[K", stderr);
    m_bShown = false;
}

#include "host/console.h"

#include <algorithm>
#include <cctype>

static const int BAR_STEPS = 40;

std::string PrintableText(const std::string& text)
{
    std::string printable = text;
    std::replace_if(
        printable.begin(), printable.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
    return printable;
}

void Console::PrintLine(const char* prefix, const std::string& text)
{
    ClearBar();
    std::fprintf(m_Out, "%s%s\n", prefix, PrintableText(text).c_str());
    std::fflush(m_Out);
}

void Console::Error(const std::string& sentence)
{
    PrintLine("error: ", sentence);
}

void Console::Warning(const std::string& sentence)
{
    if (!m_Quiet)
        PrintLine("warning: ", sentence);
}

void Console::Say(const std::string& text)
{
    if (!m_Quiet)
        PrintLine("", text);
}

void Console::Show(const std::string& text)
{
    PrintLine("", text);
}

void Console::SetFrames(int start, int end)
{
    m_Start = start;
    m_End = end;
}

void Console::ShowFrame(int frame)
{
    if (m_Quiet || !m_Terminal || m_End <= m_Start)
        return;
    const long long done = std::clamp<long long>(frame, m_Start, m_End) - m_Start;
    const int steps = static_cast<int>(done * BAR_STEPS / (m_End - m_Start));
    if (steps == m_ShownSteps)
        return;
    m_ShownSteps = steps;
    const std::string bar(static_cast<size_t>(steps), '#');
    std::fprintf(m_Out, "\r\033[K[%-*s] frame %d of %lld to %lld", BAR_STEPS, bar.c_str(), frame, m_Start, m_End);
    std::fflush(m_Out);
}

void Console::ClearBar()
{
    if (m_ShownSteps < 0)
        return;
    m_ShownSteps = -1;
    std::fprintf(m_Out, "\r\033[K");
    std::fflush(m_Out);
}

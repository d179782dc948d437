#include "scene/jsoncursor.h"

#include <array>
#include <charconv>
#include <system_error>

static bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool JsonCursor::TakeWord(std::string_view word)
{
    const bool isNext = std::string_view(m_At, static_cast<std::size_t>(m_End - m_At)).substr(0, word.size()) == word;
    m_At += isNext ? word.size() : 0;
    return isNext;
}

std::size_t JsonCursor::PassDigits()
{
    const char* start = m_At;
    while (m_At != m_End && IsDigit(*m_At))
    {
        ++m_At;
    }
    return static_cast<std::size_t>(m_At - start);
}

bool JsonCursor::ReadNumber(std::string_view& text, bool& isWhole)
{
    PassSpace();
    const char* start = m_At;
    m_At += m_At != m_End && *m_At == '-' ? 1 : 0;
    const bool beginsWithZero = m_At != m_End && *m_At == '0';
    const std::size_t nDigits = PassDigits();
    bool good = nDigits == 1 || (nDigits > 1 && !beginsWithZero);
    isWhole = true;
    if (m_At != m_End && *m_At == '.')
    {
        ++m_At;
        isWhole = false;
        good = PassDigits() > 0 && good;
    }
    if (m_At != m_End && (*m_At == 'e' || *m_At == 'E'))
    {
        ++m_At;
        isWhole = false;
        m_At += m_At != m_End && (*m_At == '+' || *m_At == '-') ? 1 : 0;
        good = PassDigits() > 0 && good;
    }
    text = std::string_view(start, static_cast<std::size_t>(m_At - start));
    return good;
}

bool JsonCursor::Read(bool& value)
{
    PassSpace();
    value = TakeWord("true");
    return value || TakeWord("false");
}

// The number of up to 18 digits.
static std::size_t NumberOf(std::string_view digits)
{
    std::size_t number = 0;
    for (const char c : digits)
    {
        number = 10 * number + static_cast<std::size_t>(c - '0');
    }
    return number;
}

bool JsonCursor::Read(std::size_t& value)
{
    std::string_view text;
    bool isWhole = false;
    if (!ReadNumber(text, isWhole) || !isWhole || text[0] == '-' || text.size() > 18)
    {
        return false;
    }
    value = NumberOf(text);
    return true;
}

bool JsonCursor::Read(int& value)
{
    std::string_view text;
    bool isWhole = false;
    if (!ReadNumber(text, isWhole) || !isWhole || text.size() > 10)
    {
        return false;
    }
    const bool isNegative = text[0] == '-';
    const std::size_t number = NumberOf(text.substr(isNegative ? 1 : 0));
    value = isNegative ? -static_cast<int>(number) : static_cast<int>(number);
    return number <= 999999999;
}

bool JsonCursor::Read(double& value)
{
    std::string_view text;
    bool isWhole = false;
    if (!ReadNumber(text, isWhole))
    {
        return false;
    }
    value = 0.0;
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), value);
    value = isWhole && value == 0.0 ? 0.0 : value; // a whole number has no negative zero
    return result.ec == std::errc();
}

// A number that a double can hold.
bool JsonCursor::SkipNumber()
{
    constexpr std::size_t MAX_DIGITS = 300;
    std::string_view text;
    bool isWhole = false;
    const bool read = ReadNumber(text, isWhole);
    if (text.size() < MAX_DIGITS && text.find_first_of("eE") == std::string_view::npos)
    {
        return read;
    }
    double value = 0.0;
    return read && std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc();
}

// Which characters go on with a plain string.
static constexpr std::array<bool, 256> PLAIN = []
{
    std::array<bool, 256> plain = {};
    for (int c = ' '; c <= '~'; ++c)
    {
        plain[static_cast<std::size_t>(c)] = c != '"' && c != '\\';
    }
    return plain;
}();

bool JsonCursor::Read(std::string_view& text)
{
    if (!Take('"'))
    {
        return false;
    }
    const char* start = m_At;
    while (m_At != m_End && PLAIN[static_cast<unsigned char>(*m_At)])
    {
        ++m_At;
    }
    text = std::string_view(start, static_cast<std::size_t>(m_At - start));
    return Take('"') && m_At == text.data() + text.size() + 1;
}

bool JsonCursor::Read(std::string& text)
{
    std::string_view view;
    const bool read = Read(view);
    text = view;
    return read;
}

bool JsonCursor::ReadAny(int depth)
{
    PassSpace();
    if (m_At == m_End || depth > MAX_DEPTH)
    {
        return false;
    }
    std::string_view text;
    switch (*m_At)
    {
    case '{':
        return ReadMembers([&](std::string_view) { return ReadAny(depth + 1); });
    case '[':
        return ReadElements([&] { return ReadAny(depth + 1); });
    case '"':
        return Read(text);
    case 't':
        return TakeWord("true");
    case 'f':
        return TakeWord("false");
    case 'n':
        return TakeWord("null");
    default:
        return SkipNumber();
    }
}

bool JsonCursor::Pass()
{
    PassSpace();
    std::size_t depth = 0;
    for (; m_At != m_End; ++m_At)
    {
        switch (*m_At)
        {
        case '"':
            for (++m_At; m_At != m_End && *m_At != '"'; ++m_At)
            {
                m_At += *m_At == '\\' && m_End - m_At > 1 ? 1 : 0;
            }
            if (m_At == m_End)
            {
                return false;
            }
            break;
        case '{':
        case '[':
            ++depth;
            break;
        case '}':
        case ']':
            if (depth == 0)
            {
                return true; // that of what the value is in
            }
            --depth;
            break;
        case ',':
            if (depth == 0)
            {
                return true;
            }
            break;
        default:
            break;
        }
    }
    return false;
}

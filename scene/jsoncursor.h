// A way through the text of a JSON document that makes nothing of it but what the caller asks for.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Every read begins at the value that comes next (space before it is passed) and ends behind it. A read that returns
// false leaves the cursor anywhere within that value. What is read is valid JSON, but not all of it is read: strings
// are of plain ASCII without escapes, whole numbers have up to 9 digits (18 for a size), and nothing nests deeper than
// MAX_DEPTH within ReadAny.
class JsonCursor
{
public:
    static constexpr int MAX_DEPTH = 64;

    JsonCursor(const char* text, std::size_t length) : m_At(text), m_End(text + length) {}

    const char* At() const { return m_At; }

    bool Read(bool& value);
    bool Read(int& value);
    bool Read(std::size_t& value);
    bool Read(double& value);
    bool Read(std::string_view& text); // into the document
    bool Read(std::string& text);

    // A list of what `Read` takes.
    template <typename T> bool Read(std::vector<T>& list)
    {
        list.clear();
        return ReadElements([&] { return Read(list.emplace_back()); });
    }

    // Calls `readMember(name)`, a std::string_view, for each member of an object; that reads the member's value.
    template <typename F> bool ReadMembers(const F& readMember)
    {
        if (!Take('{'))
        {
            return false;
        }
        if (Take('}'))
        {
            return true;
        }
        do
        {
            std::string_view name;
            if (!Read(name) || !Take(':') || !readMember(name))
            {
                return false;
            }
        } while (Take(','));
        return Take('}');
    }

    // Calls `readElement()` for each element of an array; that reads the element.
    template <typename F> bool ReadElements(const F& readElement)
    {
        if (!Take('['))
        {
            return false;
        }
        if (Take(']'))
        {
            return true;
        }
        do
        {
            if (!readElement())
            {
                return false;
            }
        } while (Take(','));
        return Take(']');
    }

    // Any value.
    bool ReadAny(int depth = 0);

    // Passes an object, an array or another value by its brackets alone, whatever is in there. False if the text ends
    // first.
    bool Pass();

private:
    void PassSpace()
    {
        while (m_At != m_End && (*m_At == ' ' || *m_At == '\n' || *m_At == '\r' || *m_At == '\t'))
        {
            ++m_At;
        }
    }

    // Whether `c` comes next; then it is behind the cursor.
    bool Take(char c)
    {
        PassSpace();
        const bool isNext = m_At != m_End && *m_At == c;
        m_At += isNext ? 1 : 0;
        return isNext;
    }

    bool TakeWord(std::string_view word);
    std::size_t PassDigits();
    bool SkipNumber();

    // A number's text; `isWhole` tells whether it has neither a fraction nor an exponent.
    bool ReadNumber(std::string_view& text, bool& isWhole);

    const char* m_At;
    const char* m_End;
};

// A stable sort for the few entries of one vertex, which takes no memory for it.
#pragma once

#include <algorithm>
#include <vector>

template <typename T, typename Less> void SortFew(std::vector<T>& entries, Less less)
{
    constexpr std::size_t FEW = 16; // beyond it moving entries one by one costs more than the other sort's memory
    if (entries.size() > FEW)
    {
        std::stable_sort(entries.begin(), entries.end(), less);
        return;
    }
    for (std::size_t i = 1; i < entries.size(); ++i)
    {
        const T entry = entries[i];
        std::size_t place = i;
        for (; place > 0 && less(entry, entries[place - 1]); --place)
        {
            entries[place] = entries[place - 1];
        }
        entries[place] = entry;
    }
}

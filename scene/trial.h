// Work on a stranger's file that may crash, loop forever or ask for all memory, tried where that does no harm.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

enum class TrialResult
{
    Good,
    Refused, // by the work itself, with its reason
    Crashed, // or out of memory
    TooSlow
};

// Does the work in a process of its own, from which nothing comes back but whether it went well. `seconds` is what that
// process may compute, `bytes` what memory it may take. Where no process can be forked, all counts as good.
TrialResult TryInOtherProcess(const std::function<bool(std::string& reason)>& work, unsigned seconds,
                              std::uintmax_t bytes, std::string& reason);

#include "tests/tools/model/kelpexport/lyinghost.h"

#include "saa/operations.h"

#include <dlfcn.h>

std::map<std::string, std::function<void(HostAnswer&)>> g_HostLies;

void LieCount(const char* pOperation, int count)
{
    g_HostLies[pOperation] = [count](HostAnswer& answer)
    {
        *answer.ints.at(0) = count;
        answer.status = 0;
    };
}

template <class T> static void List(std::vector<T*>& list, T* pArgument)
{
    if (pArgument)
        list.push_back(pArgument);
}

static void Note(HostAnswer& answer, int number)
{
    answer.lastNumber = number;
}

static void Note(HostAnswer& answer, const SAA_Elem* pElem)
{
    answer.pElem = pElem;
}

// clang-format off
static void Note(HostAnswer& answer, int* p) { List(answer.ints, p); }
static void Note(HostAnswer& answer, float* p) { List(answer.floats, p); }
static void Note(HostAnswer& answer, SAA_Position* p) { List(answer.positions, p); }
static void Note(HostAnswer& answer, SAA_Elem* p) { List(answer.elems, p); }
static void Note(HostAnswer& answer, SAA_SubHandle* p) { List(answer.subHandles, p); }
// clang-format on

// What else is handed in.
template <class T> static void Note(HostAnswer&, T) {}

// Stands before the operation of one name and signature.
template <Operation OP, class Signature> struct Interposed;
template <Operation OP, class... Arguments> struct Interposed<OP, int(Arguments...)>
{
    static int Call(Arguments... arguments)
    {
        static const char* const pName = ListOperations()[OP];
        static const auto pTrue = reinterpret_cast<int (*)(Arguments...)>(dlsym(RTLD_NEXT, pName));
        HostAnswer answer;
        answer.status = pTrue(arguments...);
        const auto lie = g_HostLies.find(pName);
        if (lie != g_HostLies.end())
        {
            (Note(answer, arguments), ...);
            lie->second(answer);
        }
        return answer.status;
    }
};

// The program's own symbol of an operation goes before that of the library. The loader asks for its address before
// anything else runs, so the sanitizers have to keep out.
// NOLINTBEGIN(bugprone-macro-parentheses): names that are declared
#define INTERPOSE(name)                                                                                                \
    extern "C" __attribute__((no_sanitize("address", "undefined"))) decltype(&name) Resolve_##name()                   \
    {                                                                                                                  \
        return &Interposed<OP_##name, decltype(name)>::Call;                                                           \
    }                                                                                                                  \
    extern "C" decltype(name) name __attribute__((ifunc("Resolve_" #name)));
SAA_OPERATIONS(INTERPOSE)
// NOLINTEND(bugprone-macro-parentheses)

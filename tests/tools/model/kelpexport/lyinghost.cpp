#include "tests/tools/model/kelpexport/lyinghost.h"

#include "saa/operations.h"

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
template <Operation OP, auto TRUE_OPERATION, class Signature> struct Interposed;
template <Operation OP, auto TRUE_OPERATION, class... Arguments>
struct Interposed<OP, TRUE_OPERATION, int(Arguments...)>
{
    static int Call(Arguments... arguments)
    {
        static const char* const pName = ListOperations()[OP];
        HostAnswer answer;
        answer.status = TRUE_OPERATION(arguments...);
        const auto lie = g_HostLies.find(pName);
        if (lie != g_HostLies.end())
        {
            (Note(answer, arguments), ...);
            lie->second(answer);
        }
        return answer.status;
    }
};

// The linker gives the calls of an operation to the name with "__wrap_" ahead of it (see CMakeLists.txt). The loader
// asks for its address before anything else runs, so the sanitizers have to keep out.
// NOLINTBEGIN(bugprone-macro-parentheses): names that are declared
#define INTERPOSE(name)                                                                                                \
    extern "C" decltype(name) __real_##name;                                                                           \
    extern "C" __attribute__((no_sanitize("address", "undefined"))) decltype(&name) Resolve_##name()                   \
    {                                                                                                                  \
        return &Interposed<OP_##name, &__real_##name, decltype(name)>::Call;                                           \
    }                                                                                                                  \
    extern "C" decltype(name) __wrap_##name __attribute__((ifunc("Resolve_" #name)));
SAA_OPERATIONS(INTERPOSE)
// NOLINTEND(bugprone-macro-parentheses)

#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/allocator.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/findblock.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/listaccess.h"
#include "zoltshared/stdzolt/qzbool.h"

ZOLT_BEGIN_NAMESPACE

// Each allocation takes `m_nCacheSize` spare elements; memory is given back when twice as many have piled up.
struct DefaultCache
{
    uint32_t m_nWastedElements = 0; // allocated elements behind the used ones
    uint32_t m_nCacheSize = 0;

    uint32_t GetWasted() const { return m_nWastedElements; }
    uint32_t GetCacheSize() const { return m_nCacheSize; }
    void SetWasted(uint32_t n) { m_nWastedElements = n; }
    void SetCacheSize(uint32_t n) { m_nCacheSize = n; }
};

// No spare elements, and no bytes: the array has always the exact size.
struct NoCache
{
    uint32_t GetWasted() const { return 0; }
    uint32_t GetCacheSize() const { return 0; }
    void SetWasted(uint32_t) {}
    void SetCacheSize(uint32_t) {}
};

// A contiguous array that doesn't remember its allocator: the caller passes the same one to every operation. The forms
// without an allocator use `g_DefaultAllocator`, and so does the destructor; an array with its storage elsewhere must
// be emptied with `Term` before it is destroyed.
//
// What allocates gives QZFALSE when there is no memory (or when the storage would exceed 32 bits); after a failed
// `NiceSetSize` or `Insert` the array is unchanged, after a failed `SetSize` or `CopyArray` it is empty. Indices are
// the caller's duty: they are asserted, not guarded. All allocated elements, spare ones too, are constructed; those of
// a trivial type are left unset.
template <class T, class C = DefaultCache> class DynArray final : public ListAccess<T>
{
public:
    explicit DynArray(uint32_t cacheSize = 0) { m_Cache.SetCacheSize(cacheSize); }
    DynArray(const DynArray& other) : ListAccess<T>() { CopyArray(other); }
    ~DynArray() { Term(); }

    DynArray& operator=(const DynArray& other)
    {
        if (this != &other)
            CopyArray(other);
        return *this;
    }

    // Gives the storage back and starts anew with `size` elements; whether that worked shows in `GetSize`.
    void Init(uint32_t size, uint32_t cacheSize) { Init(size, cacheSize, &g_DefaultAllocator); }
    void Init(uint32_t size, uint32_t cacheSize, Allocator* pAllocator);

    void Term() { Term(&g_DefaultAllocator); }
    void Term(Allocator* pAllocator) { SetSize(0, pAllocator); }

    // Sets the number of elements. The contents are lost, unless the array has that size (not 0) already.
    QZBOOL SetSize(uint32_t n) { return SetSize(n, &g_DefaultAllocator); }
    QZBOOL SetSize(uint32_t n, Allocator* pAllocator);

    // The same for an array that is used again and again: one that is larger stays as it is.
    QZBOOL SetSizeAtLeast(uint32_t n) { return n <= m_nElements ? QZTRUE : SetSize(n); }

    // As `SetSize` for plain elements, which are left unset: the caller fills them all, or empties the array.
    QZBOOL SetSizeUnset(uint32_t n, Allocator* pAllocator);

    // As `SetSize`, then assigns `value`, which must not be an element of this array, to all of them.
    QZBOOL SetSizeInit(uint32_t n, const T& value) { return SetSizeInit(n, value, &g_DefaultAllocator); }
    QZBOOL SetSizeInit(uint32_t n, const T& value, Allocator* pAllocator);

    // Sets the number of elements and keeps the contents. Elements beyond a smaller size become spare ones, and hold
    // what they held when they come back into use. `bFast` copies the elements of a new storage as one block.
    QZBOOL NiceSetSize(uint32_t n) { return NiceSetSize(n, QZFALSE, &g_DefaultAllocator); }
    QZBOOL NiceSetSize(uint32_t n, QZBOOL bFast) { return NiceSetSize(n, bFast, &g_DefaultAllocator); }
    QZBOOL NiceSetSize(uint32_t n, QZBOOL bFast, Allocator* pAllocator);

    // Inserts ahead of the element at `index`; an index beyond the size changes nothing and gives QZFALSE.
    QZBOOL Insert(uint32_t index, const T& value) { return Insert(index, value, &g_DefaultAllocator); }
    QZBOOL Insert(uint32_t index, const T& value, Allocator* pAllocator);
    QZBOOL Append(const T& value) { return Insert(m_nElements, value, &g_DefaultAllocator); }
    QZBOOL Append(const T& value, Allocator* pAllocator) { return Insert(m_nElements, value, pAllocator); }

    // Takes an element out. Keeps the storage if a smaller one can't be had.
    void Remove(uint32_t index) { Remove(index, &g_DefaultAllocator); }
    void Remove(uint32_t index, Allocator* pAllocator);

    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn): an index in range has its element.
    T& operator[](uint32_t index) { return m_pArray[CheckIndex(index)]; }
    const T& operator[](uint32_t index) const { return m_pArray[CheckIndex(index)]; }
    T& Get(uint32_t index) { return m_pArray[CheckIndex(index)]; }
    const T& Get(uint32_t index) const { return m_pArray[CheckIndex(index)]; }
    // For callers whose index may be wrong: null, or T(), for one out of range, which is reported all the same.
    T* At(uint32_t index) { return HasIndex(index) ? m_pArray + index : nullptr; }
    T GetOrNone(uint32_t index) const { return HasIndex(index) ? m_pArray[index] : T(); }
    T& Last() { return m_pArray[CheckLast()]; }
    const T& Last() const { return m_pArray[CheckLast()]; }

    uint32_t GetSize() const { return m_nElements; }
    T* GetArray() { return m_pArray; }
    const T* GetArray() const { return m_pArray; }
    uint32_t GetCacheSize() const { return m_Cache.GetCacheSize(); }
    void SetCacheSize(uint32_t cacheSize) { m_Cache.SetCacheSize(cacheSize); }
    uint32_t GetNumAllocatedElements() const { return m_nElements + m_Cache.GetWasted(); }

    // Becomes a copy of `source`, its cache size and spare elements (but not their contents) included.
    QZBOOL CopyArray(const DynArray& source) { return CopyArray(source, &g_DefaultAllocator); }
    QZBOOL CopyArray(const DynArray& source, Allocator* pAllocator);

    // Exchanges the storage of two arrays, which both have it from one allocator.
    void Swap(DynArray& other)
    {
        std::swap(m_pArray, other.m_pArray);
        std::swap(m_nElements, other.m_nElements);
        std::swap(m_Cache, other.m_Cache);
    }

    ListPos ListBegin() const override { return ListPos(); }
    QZBOOL ListIsValid(const ListPos& pos) const override { return pos.m_Index < m_nElements; }
    T ListGetNext(ListPos& pos) const override { return Get(pos.m_Index++); }
    T ListGetAt(const ListPos& pos) const override { return Get(pos.m_Index); }
    QZBOOL ListAppend(const T& value) override { return Append(value); }
    void ListRemoveAt(const ListPos& pos) override { Remove(pos.m_Index); }
    void ListRemoveAll() override { Term(); }
    uint32_t ListGetSize() const override { return m_nElements; }
    QZBOOL ListCopyFrom(const ListAccess<T>& other) override;
    QZBOOL ListAppendFrom(const ListAccess<T>& other) override;
    QZBOOL ListFindElement(const T& value, ListPos& pos) const override;
    void ListSetCacheSize(uint32_t cacheSize) override { SetCacheSize(cacheSize); }

private:
    bool HasIndex(uint32_t index) const { return ZOLT_ASSERT(index < m_nElements, "index < m_nElements"); }

    uint32_t CheckIndex(uint32_t index) const
    {
        HasIndex(index);
        return index;
    }

    uint32_t CheckLast() const
    {
        ZOLT_ASSERT(m_nElements > 0, "m_nElements>0");
        return m_nElements - 1;
    }

    static T* NewUnsetStorage(uint64_t n, Allocator* pAllocator);
    static T* NewStorage(uint64_t n, Allocator* pAllocator);
    QZBOOL Resize(uint32_t n, Allocator* pAllocator, T* (*pNew)(uint64_t, Allocator*));
    void DeleteStorage(Allocator* pAllocator);
    void ShortenBy(uint32_t n);
    QZBOOL StoreFrom(uint32_t index, const ListAccess<T>& other);

    static constexpr uint32_t ELEMENT_SIZE = sizeof(T); // NOLINT(bugprone-sizeof-expression): pointers too

    T* m_pArray = nullptr;
    uint32_t m_nElements = 0;
    [[no_unique_address]] C m_Cache;
};

// One block for n elements. Null for n = 0, without memory, and for more than 32 bits of bytes or elements.
template <class T, class C> T* DynArray<T, C>::NewUnsetStorage(uint64_t n, Allocator* pAllocator)
{
    if (n > UINT32_MAX / ELEMENT_SIZE)
        return nullptr;
    return static_cast<T*>(pAllocator->Alloc(static_cast<uint32_t>(n * ELEMENT_SIZE)));
}

// The same with the elements constructed.
template <class T, class C> T* DynArray<T, C>::NewStorage(uint64_t n, Allocator* pAllocator)
{
    T* pStorage = NewUnsetStorage(n, pAllocator);
    if constexpr (!std::is_trivially_default_constructible_v<T>)
    {
        if (pStorage)
            std::uninitialized_default_construct_n(pStorage, n);
    }
    return pStorage;
}

// Destroys all elements and gives the storage back, if there is one; the sizes are left to the caller.
template <class T, class C> void DynArray<T, C>::DeleteStorage(Allocator* pAllocator)
{
    if (!m_pArray)
        return;
    std::destroy_n(m_pArray, GetNumAllocatedElements());
    pAllocator->Free(m_pArray);
    m_pArray = nullptr;
}

template <class T, class C> void DynArray<T, C>::Init(uint32_t size, uint32_t cacheSize, Allocator* pAllocator)
{
    Term(pAllocator);
    m_Cache.SetCacheSize(cacheSize);
    SetSize(size, pAllocator);
}

template <class T, class C> QZBOOL DynArray<T, C>::SetSize(uint32_t n, Allocator* pAllocator)
{
    return Resize(n, pAllocator, NewStorage);
}

template <class T, class C> QZBOOL DynArray<T, C>::SetSizeUnset(uint32_t n, Allocator* pAllocator)
{
    static_assert(std::is_trivially_copyable_v<T>);
    return Resize(n, pAllocator, NewUnsetStorage);
}

template <class T, class C>
QZBOOL DynArray<T, C>::Resize(uint32_t n, Allocator* pAllocator, T* (*pNew)(uint64_t, Allocator*))
{
    if (n == m_nElements && n != 0)
        return QZTRUE;
    DeleteStorage(pAllocator);
    m_Cache.SetWasted(0);
    m_nElements = 0;
    if (n == 0)
        return QZTRUE;
    m_pArray = pNew(uint64_t(n) + m_Cache.GetCacheSize(), pAllocator);
    if (!m_pArray)
        return QZFALSE;
    m_nElements = n;
    m_Cache.SetWasted(m_Cache.GetCacheSize());
    return QZTRUE;
}

template <class T, class C> QZBOOL DynArray<T, C>::SetSizeInit(uint32_t n, const T& value, Allocator* pAllocator)
{
    if (!SetSize(n, pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < m_nElements; i++)
        m_pArray[i] = value;
    return QZTRUE;
}

template <class T, class C> QZBOOL DynArray<T, C>::NiceSetSize(uint32_t n, QZBOOL bFast, Allocator* pAllocator)
{
    if (n < m_nElements)
    {
        ShortenBy(m_nElements - n);
        return QZTRUE;
    }
    const uint32_t nMore = n - m_nElements;
    if (nMore <= m_Cache.GetWasted())
    {
        m_Cache.SetWasted(m_Cache.GetWasted() - nMore);
        m_nElements = n;
        return QZTRUE;
    }
    T* pStorage = NewStorage(uint64_t(n) + m_Cache.GetCacheSize(), pAllocator);
    if (!pStorage)
        return QZFALSE;
    // A block copy of what isn't plain would leave two owners behind, so it is kept to what is.
    if (std::is_trivially_copyable_v<T> && bFast)
    {
        if (m_nElements != 0)
            std::memcpy(static_cast<void*>(pStorage), static_cast<const void*>(m_pArray),
                        size_t(m_nElements) * ELEMENT_SIZE);
    }
    else
    {
        for (uint32_t i = 0; i < m_nElements; i++)
            pStorage[i] = m_pArray[i];
    }
    DeleteStorage(pAllocator);
    m_pArray = pStorage;
    m_nElements = n;
    m_Cache.SetWasted(m_Cache.GetCacheSize());
    return QZTRUE;
}

template <class T, class C> QZBOOL DynArray<T, C>::Insert(uint32_t index, const T& value, Allocator* pAllocator)
{
    if (!ZOLT_ASSERT(index <= m_nElements, "index <= m_nElements"))
        return QZFALSE;
    if (m_Cache.GetWasted() != 0)
    {
        // A value out of this array moves along with the rest.
        const bool bMoves =
            !std::less<const T*>()(&value, m_pArray + index) && std::less<const T*>()(&value, m_pArray + m_nElements);
        for (uint32_t i = m_nElements; i > index; i--)
            m_pArray[i] = m_pArray[i - 1];
        m_Cache.SetWasted(m_Cache.GetWasted() - 1);
        m_pArray[index] = bMoves ? *(&value + 1) : value;
    }
    else
    {
        T* pStorage = NewStorage(uint64_t(m_nElements) + 1 + m_Cache.GetCacheSize(), pAllocator);
        if (!pStorage)
            return QZFALSE;
        for (uint32_t i = 0; i < index; i++)
            pStorage[i] = m_pArray[i];
        for (uint32_t i = index; i < m_nElements; i++)
            pStorage[i + 1] = m_pArray[i];
        pStorage[index] = value;
        DeleteStorage(pAllocator);
        m_pArray = pStorage;
        m_Cache.SetWasted(m_Cache.GetCacheSize());
    }
    m_nElements++;
    return QZTRUE;
}

template <class T, class C> void DynArray<T, C>::Remove(uint32_t index, Allocator* pAllocator)
{
    ZOLT_ASSERT(index < m_nElements && m_pArray, "index < m_nElements && m_pArray");
    if (m_Cache.GetWasted() >= uint64_t(2) * m_Cache.GetCacheSize())
    {
        const uint64_t nAllocated = uint64_t(m_nElements - 1) + m_Cache.GetCacheSize();
        T* pStorage = NewStorage(nAllocated, pAllocator);
        if (pStorage || nAllocated == 0)
        {
            // Null only where nothing is left to copy.
            for (uint32_t i = 0; i < index; i++)
                pStorage[i] = m_pArray[i]; // NOLINT(clang-analyzer-core.NullDereference)
            for (uint32_t i = index + 1; i < m_nElements; i++)
                pStorage[i - 1] = m_pArray[i]; // NOLINT(clang-analyzer-core.NullDereference)
            DeleteStorage(pAllocator);
            m_pArray = pStorage;
            m_nElements--;
            m_Cache.SetWasted(m_Cache.GetCacheSize());
            return;
        }
    }
    for (uint32_t i = index + 1; i < m_nElements; i++)
        m_pArray[i - 1] = m_pArray[i];
    ShortenBy(1);
}

template <class T, class C> QZBOOL DynArray<T, C>::CopyArray(const DynArray& source, Allocator* pAllocator)
{
    if (&source == this)
        return QZTRUE;
    DeleteStorage(pAllocator);
    const uint32_t nAllocated = source.GetNumAllocatedElements();
    m_Cache = source.m_Cache;
    m_nElements = source.m_nElements;
    if (nAllocated != 0)
        m_pArray = NewStorage(nAllocated, pAllocator);
    if (!m_pArray)
    {
        m_nElements = 0;
        m_Cache.SetWasted(0);
        return nAllocated == 0 ? QZTRUE : QZFALSE;
    }
    for (uint32_t i = 0; i < m_nElements; i++)
        m_pArray[i] = source.m_pArray[i];
    return QZTRUE;
}

// Makes the last n elements spare ones. Where the policy counts none they will never come back, so they end here.
template <class T, class C> void DynArray<T, C>::ShortenBy(uint32_t n)
{
    const uint32_t nWasted = m_Cache.GetWasted() + n;
    m_nElements -= n;
    m_Cache.SetWasted(nWasted);
    if (m_Cache.GetWasted() != nWasted)
        std::destroy_n(m_pArray + m_nElements, n);
}

// Stores what `other` yields from `index` on, and empties the array if that is more than it has room for.
template <class T, class C> QZBOOL DynArray<T, C>::StoreFrom(uint32_t index, const ListAccess<T>& other)
{
    for (ListPos pos = other.ListBegin(); other.ListIsValid(pos); index++)
    {
        if (index >= m_nElements)
        {
            Term();
            return QZFALSE;
        }
        m_pArray[index] = other.ListGetNext(pos);
    }
    return QZTRUE;
}

template <class T, class C> QZBOOL DynArray<T, C>::ListCopyFrom(const ListAccess<T>& other)
{
    return SetSize(other.ListGetSize()) && StoreFrom(0, other) ? QZTRUE : QZFALSE;
}

template <class T, class C> QZBOOL DynArray<T, C>::ListAppendFrom(const ListAccess<T>& other)
{
    const uint32_t oldSize = m_nElements;
    const uint64_t size = uint64_t(oldSize) + other.ListGetSize();
    if (size > UINT32_MAX)
        return QZFALSE;
    return NiceSetSize(static_cast<uint32_t>(size)) && StoreFrom(oldSize, other) ? QZTRUE : QZFALSE;
}

template <class T, class C> QZBOOL DynArray<T, C>::ListFindElement(const T& value, ListPos& pos) const
{
    const int index = FindBlock(&value, m_pArray, m_nElements, ELEMENT_SIZE);
    pos.m_Index = static_cast<uint32_t>(index);
    return index >= 0 ? QZTRUE : QZFALSE;
}

// For an array that owns the objects it points at: destroys each through the allocator, then empties the array.
template <class T, class C> void DeleteAndClearArray(DynArray<T*, C>& array, Allocator* pAllocator)
{
    for (uint32_t i = 0; i < array.GetSize(); i++)
        FreeObject(*pAllocator, array[i]);
    array.Term(pAllocator);
}

template <class T, class C> void DeleteAndClearArray(DynArray<T*, C>& array)
{
    DeleteAndClearArray(array, &g_DefaultAllocator);
}

ZOLT_END_NAMESPACE

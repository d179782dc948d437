#pragma once

#include <cstdint>

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

ZOLT_BEGIN_NAMESPACE

// A position in a list.
struct ListPos
{
    uint32_t m_Index = 0;
};

// A list as seen by code that walks or copies it without knowing how its elements are laid out. Elements are handed
// out by value. What needs memory takes it from `g_DefaultAllocator`.
template <class T> class ListAccess
{
public:
    virtual ListPos ListBegin() const = 0;
    virtual QZBOOL ListIsValid(const ListPos& pos) const = 0;
    virtual T ListGetNext(ListPos& pos) const = 0; // the element at the position, which moves on
    virtual T ListGetAt(const ListPos& pos) const = 0;
    virtual QZBOOL ListAppend(const T& value) = 0;
    virtual void ListRemoveAt(const ListPos& pos) = 0;
    virtual void ListRemoveAll() = 0;
    virtual uint32_t ListGetSize() const = 0;
    virtual QZBOOL ListCopyFrom(const ListAccess<T>& other) = 0;
    virtual QZBOOL ListAppendFrom(const ListAccess<T>& other) = 0;

    // The first element that equals `value` byte for byte. Without one `pos` gets the index -1, which isn't valid.
    virtual QZBOOL ListFindElement(const T& value, ListPos& pos) const = 0;
    virtual void ListSetCacheSize(uint32_t cacheSize) = 0;

protected:
    ListAccess() = default;
    ListAccess(const ListAccess&) = default;
    ListAccess& operator=(const ListAccess&) = default;
    ~ListAccess() = default;
};

ZOLT_END_NAMESPACE

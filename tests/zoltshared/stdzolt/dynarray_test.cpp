#include "zoltshared/stdzolt/dynarray.h"

#include <random>

#include <gtest/gtest.h>

#include "tests/zoltshared/stdzolt/assertioncatcher.h"
#include "tests/zoltshared/stdzolt/testallocator.h"

// An element that is counted, and worth 0 when it is new.
struct Item
{
    Item() { s_nLive++; }
    Item(int value) : m_Value(value) { s_nLive++; } // NOLINT(google-explicit-constructor)
    Item(const Item& other) : m_Value(other.m_Value) { s_nLive++; }
    ~Item() { s_nLive--; }
    Item& operator=(const Item&) = default;

    int m_Value = 0;
    static int s_nLive;
};

int Item::s_nLive = 0;

// What the array ought to be: all allocated values, the used ones first, and the sizes asked of the allocator.
struct Model
{
    std::vector<int> m_All;
    uint32_t m_nUsed = 0;
    uint32_t m_Cache = 0;
    bool m_bCached = false; // DefaultCache
    bool m_bFail = false;   // the allocator refuses
    std::vector<uint32_t> m_Requests;

    uint32_t Spare() const { return m_bCached ? static_cast<uint32_t>(m_All.size()) - m_nUsed : 0; }

    bool Take(size_t n)
    {
        if (n != 0)
            m_Requests.push_back(static_cast<uint32_t>(n * sizeof(Item)));
        return !m_bFail && n != 0;
    }

    bool SetSize(uint32_t n)
    {
        if (n == m_nUsed && n != 0)
            return true;
        m_All.clear();
        m_nUsed = 0;
        if (n == 0)
            return true;
        if (!Take(n + m_Cache))
            return false;
        m_All.assign(n + m_Cache, 0);
        m_nUsed = n;
        return true;
    }

    bool Grow(uint32_t n)
    {
        if (!Take(n + m_Cache))
            return false;
        m_All.resize(m_nUsed);
        m_All.resize(n + m_Cache, 0);
        m_nUsed = n;
        return true;
    }

    bool NiceSetSize(uint32_t n)
    {
        if (n > m_nUsed + Spare())
            return Grow(n);
        m_nUsed = n;
        if (!m_bCached)
            m_All.resize(n);
        return true;
    }

    bool Insert(uint32_t index, int value)
    {
        if (index > m_nUsed)
            return false;
        if (Spare() != 0)
            m_nUsed++;
        else if (!Grow(m_nUsed + 1))
            return false;
        std::copy_backward(m_All.begin() + index, m_All.begin() + m_nUsed - 1, m_All.begin() + m_nUsed);
        m_All[index] = value;
        return true;
    }

    void Remove(uint32_t index)
    {
        const uint32_t n = m_nUsed - 1 + m_Cache;
        const bool bShrinks = Spare() >= 2 * m_Cache && (Take(n) || n == 0);
        std::copy(m_All.begin() + index + 1, m_All.begin() + m_nUsed, m_All.begin() + index);
        m_nUsed--;
        if (bShrinks || !m_bCached)
        {
            m_All.resize(m_nUsed);
            m_All.resize(m_nUsed + m_Cache, 0);
        }
    }

    bool Copy(const Model& source)
    {
        m_Cache = source.m_Cache;
        m_All.clear();
        m_nUsed = 0;
        if (!Take(source.m_All.size()))
            return source.m_All.empty();
        m_nUsed = source.m_nUsed;
        m_All.assign(source.m_All.begin(), source.m_All.begin() + m_nUsed);
        m_All.resize(source.m_All.size(), 0);
        return true;
    }
};

template <class C> static void Compare(DynArray<Item, C>& array, TestAllocator& allocator, Model& model)
{
    ASSERT_EQ(array.GetSize(), model.m_nUsed);
    ASSERT_EQ(array.GetNumAllocatedElements(), model.m_nUsed + model.Spare());
    ASSERT_EQ(array.GetCacheSize(), model.m_Cache);
    ASSERT_EQ(allocator.m_Requests, model.m_Requests);
    for (uint32_t i = 0; i < model.m_nUsed; i++)
        ASSERT_EQ(array[i].m_Value, model.m_All[i]);
    if (model.m_nUsed != 0)
    {
        ASSERT_EQ(array.Last().m_Value, model.m_All[model.m_nUsed - 1]);
    }
    allocator.m_Requests.clear();
    model.m_Requests.clear();
}

template <class C> static void RunRandomOperations(bool bCached, uint32_t seed)
{
    std::mt19937 random(seed);
    TestAllocator allocator;
    DynArray<Item, C> arrays[2];
    Model models[2];
    models[0].m_bCached = models[1].m_bCached = bCached;
    for (int step = 0; step < 400; step++)
    {
        const uint32_t which = random() % 2;
        DynArray<Item, C>& array = arrays[which];
        Model& model = models[which];
        model.m_bFail = random() % 5 == 0;
        allocator.m_nLeft = model.m_bFail ? 0 : 0xFFFFFFFF;
        const uint32_t n = random() % 8;
        const int value = static_cast<int>(random() % 1000);
        switch (random() % 9)
        {
        case 0:
            ASSERT_EQ(array.SetSize(n, &allocator), model.SetSize(n));
            break;
        case 1:
            ASSERT_EQ(array.NiceSetSize(n, random() % 2, &allocator), model.NiceSetSize(n));
            break;
        case 2:
        case 3:
            if (n > model.m_nUsed)
            {
                AssertionCatcher catcher;
                ASSERT_EQ(array.Insert(n, value, &allocator), QZFALSE);
                ASSERT_EQ(AssertionCatcher::Caught(), std::vector<std::string>{"index <= m_nElements"});
            }
            else
                ASSERT_EQ(array.Insert(n, value, &allocator), model.Insert(n, value));
            break;
        case 4:
            ASSERT_EQ(array.Append(value, &allocator), model.Insert(model.m_nUsed, value));
            break;
        case 5:
        case 6:
            if (n < model.m_nUsed)
            {
                array.Remove(n, &allocator);
                model.Remove(n);
            }
            break;
        case 7:
            ASSERT_EQ(array.CopyArray(arrays[1 - which], &allocator), model.Copy(models[1 - which]));
            break;
        default:
            array.SetCacheSize(n / 2);
            model.m_Cache = bCached ? n / 2 : 0;
            if (array.SetSizeInit(n, value, &allocator) && model.SetSize(n))
                std::fill_n(model.m_All.begin(), n, value);
            else
                model.SetSize(n);
        }
        ASSERT_NO_FATAL_FAILURE(Compare(array, allocator, model)) << "step " << step;
        ASSERT_EQ(Item::s_nLive, static_cast<int>(models[0].m_All.size() + models[1].m_All.size()));
    }
    for (auto& array : arrays)
        array.Term(&allocator);
    EXPECT_EQ(allocator.m_nLive, 0);
    EXPECT_EQ(Item::s_nLive, 0);
}

TEST(DynArray, RandomOperationsAgreeWithAPlainModel)
{
    for (uint32_t seed = 0; seed < 100; seed++)
    {
        ASSERT_NO_FATAL_FAILURE(RunRandomOperations<DefaultCache>(true, seed)) << "seed " << seed;
        ASSERT_NO_FATAL_FAILURE(RunRandomOperations<NoCache>(false, seed)) << "seed " << seed;
    }
}

TEST(DynArray, SizesBeyond32BitsFail)
{
    TestAllocator allocator;
    DynArray<int> array(16);
    ASSERT_TRUE(array.Append(5, &allocator));
    allocator.m_Requests.clear();
    EXPECT_FALSE(array.NiceSetSize(0x40000000, QZTRUE, &allocator)); // 4 GiB
    EXPECT_FALSE(array.NiceSetSize(0xFFFFFFFF, QZTRUE, &allocator)); // wraps with the cache
    EXPECT_EQ(array.GetSize(), 1U);
    EXPECT_EQ(array[0], 5);
    EXPECT_FALSE(array.SetSize(0x3FFFFFF0, &allocator)); // 4 GiB with the cache
    EXPECT_EQ(array.GetArray(), nullptr);
    EXPECT_TRUE(allocator.m_Requests.empty());
}

TEST(DynArray, ValuesOutOfTheArrayItself)
{
    for (uint32_t cacheSize : {0U, 4U})
    {
        DynArray<int> array(cacheSize);
        for (int i = 1; i <= 3; i++)
            ASSERT_TRUE(array.Append(i));
        ASSERT_TRUE(array.Insert(1, array[2]));
        ASSERT_TRUE(array.Insert(2, array[0]));
        ASSERT_TRUE(array.CopyArray(array));
        EXPECT_EQ(std::vector<int>(array.GetArray(), array.GetArray() + array.GetSize()),
                  (std::vector<int>{1, 3, 1, 2, 3}));
    }
}

TEST(DynArray, ChecksOfIndices)
{
    AssertionCatcher catcher;
    DynArray<int> array(2); // the spare elements are there to be touched
    ASSERT_TRUE(array.Append(1));
    array[1] = 2;
    array.Get(1) = 2;
    array.NiceSetSize(0);
    (void)array.ListAppend(7);
    EXPECT_EQ(array.Last(), 7);
    EXPECT_EQ(AssertionCatcher::Caught(), (std::vector<std::string>{"index < m_nElements", "index < m_nElements"}));
}

// Says that it is as long as can be.
struct LongList : ListAccess<int>
{
    ListPos ListBegin() const override { return ListPos(); }
    QZBOOL ListIsValid(const ListPos&) const override { return QZFALSE; }
    int ListGetNext(ListPos&) const override { return 0; }
    int ListGetAt(const ListPos&) const override { return 0; }
    QZBOOL ListAppend(const int&) override { return QZFALSE; }
    void ListRemoveAt(const ListPos&) override {}
    void ListRemoveAll() override {}
    uint32_t ListGetSize() const override { return 0xFFFFFFFF; }
    QZBOOL ListCopyFrom(const ListAccess<int>&) override { return QZFALSE; }
    QZBOOL ListAppendFrom(const ListAccess<int>&) override { return QZFALSE; }
    QZBOOL ListFindElement(const int&, ListPos&) const override { return QZFALSE; }
    void ListSetCacheSize(uint32_t) override {}
};

TEST(DynArray, WalkedAndCopiedAsList)
{
    DynArray<int> source;
    ListAccess<int>& list = source;
    list.ListSetCacheSize(3);
    for (int value : {4, 5, 6})
        ASSERT_TRUE(list.ListAppend(value));
    EXPECT_EQ(source.GetNumAllocatedElements(), 4U);
    ListPos pos;
    EXPECT_TRUE(list.ListFindElement(5, pos));
    EXPECT_EQ(pos.m_Index, 1U);
    list.ListRemoveAt(pos);
    EXPECT_FALSE(list.ListFindElement(5, pos));
    EXPECT_FALSE(list.ListIsValid(pos));

    DynArray<int, NoCache> copy;
    ASSERT_TRUE(copy.ListCopyFrom(source));
    ASSERT_TRUE(copy.ListAppendFrom(source));
    EXPECT_EQ(std::vector<int>(copy.GetArray(), copy.GetArray() + copy.GetSize()), (std::vector<int>{4, 6, 4, 6}));
    EXPECT_FALSE(copy.ListAppendFrom(LongList()));
    EXPECT_EQ(copy.GetSize(), 4U);
}

struct PolymorphicBase
{
    virtual ~PolymorphicBase() = default;
    int m_Value = 0;
};

struct OtherBase
{
    virtual ~OtherBase() = default;
};

struct Derived : PolymorphicBase, OtherBase
{
    DynArray<int> m_Values;
};

TEST(DynArray, OwnedObjectsGoBackWhole)
{
    TestAllocator allocator;
    DynArray<OtherBase*, NoCache> array;
    ASSERT_TRUE(array.SetSizeInit(3, nullptr, &allocator));
    Derived* pDerived = AllocNew<Derived>(allocator);
    ASSERT_TRUE(pDerived->m_Values.Append(1));
    array[1] = pDerived; // not the start of the object
    DeleteAndClearArray(array, &allocator);
    EXPECT_EQ(allocator.m_nLive, 0);
    EXPECT_EQ(array.GetSize(), 0U);
    allocator.m_nLeft = 0;
    EXPECT_EQ(AllocNew<Derived>(allocator), nullptr);
}

static_assert(sizeof(DynArray<int, NoCache>) == 2 * sizeof(void*) + (sizeof(void*) == 8 ? 8 : 4));

// After "Database File Format" of SQLite's documentation: a header, then pages of one size, the first of which lists
// the tables. The pages here are leaves of B-trees, whose cells each hold a record as a whole.
#include "win32/registryimage.h"

#include "win32/registryschema.h"

#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

static constexpr std::size_t MAX_IMAGE = 1 << 16;
static constexpr std::size_t HEADER = 100;
static constexpr unsigned TABLE_LEAF = 13;
static constexpr unsigned INDEX_LEAF = 10;

// Places of SQLite's locks.
static constexpr off_t PENDING_BYTE = 0x40000000;
static constexpr off_t SHARED_FIRST = PENDING_BYTE + 2;
static constexpr off_t SHARED_SIZE = 510;

namespace
{

// Bytes that are taken from the front. What isn't there makes it bad.
struct Bytes
{
    std::string_view rest;
    bool isGood = true;

    std::string_view Take(std::uint64_t size)
    {
        isGood = isGood && size <= rest.size();
        const std::string_view taken = isGood ? rest.substr(0, size) : std::string_view();
        rest.remove_prefix(taken.size());
        return taken;
    }

    // Big-endian, without a sign.
    std::uint64_t TakeNumber(std::uint64_t size)
    {
        std::uint64_t number = 0;
        for (const char byte : Take(size))
            number = number << 8 | static_cast<unsigned char>(byte);
        return number;
    }

    // Seven bits in each byte, the higher ones first. None here needs nine bytes.
    std::uint64_t TakeVarint()
    {
        std::uint64_t number = 0;
        for (int i = 0; i < 8; i++)
        {
            const std::uint64_t byte = TakeNumber(1);
            number = number << 7 | (byte & 0x7F);
            if (byte < 0x80)
                return number;
        }
        isGood = false;
        return 0;
    }
};

// A column of a record.
struct Field
{
    enum
    {
        OTHER,
        NUMBER,
        TEXT,
        BLOB
    } kind = OTHER;
    std::uint64_t number = 0;
    std::string_view bytes;
};

using Record = std::vector<Field>;

struct Image
{
    std::string bytes;
    std::size_t pageSize = 0;
};

} // namespace

static bool Lock(int file, short kind, off_t start, off_t size)
{
    struct flock lock = {};
    lock.l_type = kind;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = size;
    return fcntl(file, F_SETLK, &lock) == 0;
}

// The locks go when the file is closed.
static bool ReadLocked(int file, const std::string& path, std::string& bytes)
{
    struct stat state = {};
    if (!Lock(file, F_RDLCK, PENDING_BYTE, 1) || !Lock(file, F_RDLCK, SHARED_FIRST, SHARED_SIZE) ||
        !Lock(file, F_UNLCK, PENDING_BYTE, 1) || fstat(file, &state) != 0 || state.st_size > off_t(MAX_IMAGE))
        return false;
    if (access((path + "-journal").c_str(), F_OK) == 0)
        return false; // of a writer that was killed
    bytes.resize(static_cast<std::size_t>(state.st_size));
    return pread(file, bytes.data(), bytes.size(), 0) == state.st_size;
}

static std::uint64_t NumberAt(const std::string& bytes, std::size_t place, std::size_t size)
{
    Bytes number{std::string_view(bytes).substr(place, size)};
    return number.TakeNumber(size);
}

static bool CheckHeader(Image& image)
{
    const std::string& bytes = image.bytes;
    if (bytes.size() < HEADER || std::memcmp(bytes.data(), "SQLite format 3", 16) != 0)
        return false;
    image.pageSize = static_cast<std::size_t>(NumberAt(bytes, 16, 2));
    const bool hasJournal = NumberAt(bytes, 18, 2) == 0x0101;
    const bool isCounted = NumberAt(bytes, 24, 4) == NumberAt(bytes, 92, 4);
    return image.pageSize >= 512 && hasJournal && NumberAt(bytes, 20, 1) == 0 && isCounted &&
           NumberAt(bytes, 28, 4) * image.pageSize == bytes.size() && NumberAt(bytes, 56, 4) == 1 &&
           NumberAt(bytes, 60, 4) == REGISTRY_SCHEMA_VERSION;
}

static Field TakeField(std::uint64_t type, Bytes& values)
{
    static const unsigned char WIDTHS[] = {0, 1, 2, 3, 4, 6, 8};
    Field field;
    if (type >= 12)
    {
        field.kind = type % 2 == 0 ? Field::BLOB : Field::TEXT;
        field.bytes = values.Take((type - 12) / 2);
    }
    else if (type == 8 || type == 9)
    {
        field.kind = Field::NUMBER;
        field.number = type - 8;
    }
    else if (type >= 1 && type <= 6)
    {
        field.kind = Field::NUMBER;
        field.number = values.TakeNumber(WIDTHS[type]);
        values.isGood = values.isGood && field.number >> (8 * WIDTHS[type] - 1) == 0; // none is negative
    }
    return field;
}

static bool ParseRecord(std::string_view payload, Record& record)
{
    Bytes head{payload};
    const std::uint64_t headSize = head.TakeVarint();
    if (!head.isGood || headSize > payload.size() || headSize < payload.size() - head.rest.size())
        return false;
    Bytes values{payload.substr(headSize)};
    head.rest.remove_suffix(values.rest.size());
    record.clear();
    while (head.isGood && values.isGood && !head.rest.empty())
        record.push_back(TakeField(head.TakeVarint(), values));
    return head.isGood && values.isGood && values.rest.empty();
}

// The records of a table that one page holds.
static bool ParsePage(const Image& image, std::uint64_t number, unsigned kind, std::vector<Record>& records)
{
    const std::size_t size = image.pageSize;
    if (number == 0 || number > image.bytes.size() / size)
        return false;
    const std::string_view page(image.bytes.data() + (number - 1) * size, size);
    // What is longer goes on in other pages.
    const std::size_t maxPayload = kind == TABLE_LEAF ? size - 35 : (size - 12) * 64 / 255 - 23;
    Bytes head{page.substr(number == 1 ? HEADER : 0)};
    const bool isKind = head.TakeNumber(1) == kind;
    head.Take(2);
    const std::uint64_t nCells = head.TakeNumber(2);
    head.Take(3);
    for (std::uint64_t i = 0; isKind && i < nCells; i++)
    {
        const std::uint64_t place = head.TakeNumber(2);
        if (!head.isGood || place >= size)
            return false;
        Bytes cell{page.substr(place)};
        const std::uint64_t length = cell.TakeVarint();
        if (kind == TABLE_LEAF)
            cell.TakeVarint(); // the row's number
        const std::string_view payload = cell.Take(length);
        Record record;
        if (!cell.isGood || length > maxPayload || !ParseRecord(payload, record))
            return false;
        records.push_back(std::move(record));
    }
    return isKind && head.isGood;
}

static bool HasKinds(const Record& record, std::initializer_list<int> kinds)
{
    bool isSame = record.size() == kinds.size();
    for (std::size_t i = 0; isSame && i < kinds.size(); i++)
        isSame = record[i].kind == kinds.begin()[i];
    return isSame;
}

// The page where the table of that statement starts; 0 if there is none.
static std::uint64_t FindTable(const std::vector<Record>& schema, std::string_view statement)
{
    for (const Record& record : schema)
    {
        if (HasKinds(record, {Field::TEXT, Field::TEXT, Field::TEXT, Field::NUMBER, Field::TEXT}) &&
            record[0].bytes == "table" && record[4].bytes == statement)
            return record[3].number;
    }
    return 0;
}

static bool ParseImage(const Image& image, RegistryTable& table)
{
    std::vector<Record> schema;
    std::vector<Record> keys;
    std::vector<Record> values;
    if (!ParsePage(image, 1, TABLE_LEAF, schema) ||
        !ParsePage(image, FindTable(schema, "CREATE TABLE " REGISTRY_KEY_TABLE), INDEX_LEAF, keys) ||
        !ParsePage(image, FindTable(schema, "CREATE TABLE " REGISTRY_VALUE_TABLE), INDEX_LEAF, values))
        return false;
    for (const Record& key : keys)
    {
        if (!HasKinds(key, {Field::TEXT}))
            return false;
        table.AddKey(std::string(key[0].bytes));
    }
    for (const Record& value : values)
    {
        if (!HasKinds(value, {Field::TEXT, Field::TEXT, Field::NUMBER, Field::BLOB}))
            return false;
        const std::string_view data = value[3].bytes;
        table.SetValue(std::string(value[0].bytes), std::string(value[1].bytes),
                       {static_cast<DWORD>(value[2].number), std::vector<BYTE>(data.begin(), data.end())});
    }
    return true;
}

bool ReadRegistryImage(const std::string& file, RegistryTable& table)
{
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    Image image;
    const bool isRead = ReadLocked(descriptor, file, image.bytes);
    close(descriptor);
    return isRead && CheckHeader(image) && ParseImage(image, table);
}

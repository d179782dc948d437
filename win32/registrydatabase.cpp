#include "win32/registrydatabase.h"

#include "win32/registrystore.h"
#include "win32/registrytable.h"
#include "win32/userfolders.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

static const int BUSY_TIMEOUT_MS = 10000;

// Stands in the file's user_version; 0 is a file in which nothing has been written yet.
static const int SCHEMA_VERSION = 1;

// NOCASE folds ASCII letters only.
static const char* const SCHEMA =
    "CREATE TABLE IF NOT EXISTS registry_key(path TEXT PRIMARY KEY NOT NULL COLLATE NOCASE) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS registry_value(path TEXT NOT NULL COLLATE NOCASE, name TEXT NOT NULL COLLATE NOCASE,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY(path, name)) WITHOUT ROWID;"
    "PRAGMA user_version = 1;";

// Work on an open store; gives an SQLite result code.
using StoreWork = std::function<int(sqlite3*)>;

namespace
{

class Statement
{
public:
    Statement(sqlite3* db, const char* sql) { m_Result = sqlite3_prepare_v2(db, sql, -1, &m_Statement, nullptr); }
    ~Statement() { sqlite3_finalize(m_Statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Texts are bound by address and must outlive the statement.
    void BindText(int place, const std::string& text)
    {
        Bind(sqlite3_bind_text64(m_Statement, place, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
    }
    void BindInt(int place, sqlite3_int64 number) { Bind(sqlite3_bind_int64(m_Statement, place, number)); }
    void BindBytes(int place, const std::vector<BYTE>& bytes)
    {
        Bind(bytes.empty() ? sqlite3_bind_zeroblob(m_Statement, place, 0)
                           : sqlite3_bind_blob64(m_Statement, place, bytes.data(), bytes.size(), SQLITE_STATIC));
    }
    // SQLITE_ROW, SQLITE_DONE, or the error of this or an earlier step.
    int Step() { return m_Result == SQLITE_OK ? sqlite3_step(m_Statement) : m_Result; }
    int Run() { return m_Result == SQLITE_OK && Step() == SQLITE_DONE ? SQLITE_OK : Failure(); }

    std::string Text(int column)
    {
        const char* text = reinterpret_cast<const char*>(sqlite3_column_text(m_Statement, column));
        const int size = sqlite3_column_bytes(m_Statement, column);
        return text ? std::string(text, static_cast<size_t>(size)) : std::string();
    }
    sqlite3_int64 Int(int column) { return sqlite3_column_int64(m_Statement, column); }
    std::vector<BYTE> Bytes(int column)
    {
        const BYTE* data = static_cast<const BYTE*>(sqlite3_column_blob(m_Statement, column));
        const int size = sqlite3_column_bytes(m_Statement, column);
        return data ? std::vector<BYTE>(data, data + size) : std::vector<BYTE>();
    }

private:
    void Bind(int result) { m_Result = m_Result == SQLITE_OK ? result : m_Result; }
    int Failure() { return m_Result == SQLITE_OK ? sqlite3_errcode(sqlite3_db_handle(m_Statement)) : m_Result; }

    sqlite3_stmt* m_Statement = nullptr;
    int m_Result;
};

// Held shared while the file is in use, and alone while it is exchanged: SQLite's own locks hold for the file that is
// open, not for the name under which the next one will be opened. A folder that can't be opened is not locked.
class FolderLock
{
public:
    FolderLock(const std::string& folder, int kind) : m_Folder(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        for (int waited = 0; m_Folder >= 0 && flock(m_Folder, kind | LOCK_NB) != 0; waited += STEP_MS)
        {
            if (waited >= BUSY_TIMEOUT_MS || (errno != EWOULDBLOCK && errno != EINTR))
            {
                m_TimedOut = errno == EWOULDBLOCK;
                break;
            }
            usleep(STEP_MS * 1000);
        }
    }
    ~FolderLock()
    {
        if (m_Folder >= 0)
            close(m_Folder);
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    bool TimedOut() const { return m_TimedOut; }

private:
    static const int STEP_MS = 2;

    int m_Folder;
    bool m_TimedOut = false;
};

} // namespace

static bool IsDamage(int result)
{
    return (result & 0xFF) == SQLITE_CORRUPT || (result & 0xFF) == SQLITE_NOTADB;
}

static LONG ToRegistryError(int result)
{
    switch (result & 0xFF)
    {
    case SQLITE_OK:
        return ERROR_SUCCESS;
    case SQLITE_NOTFOUND:
        return ERROR_FILE_NOT_FOUND;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return ERROR_BUSY;
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return ERROR_ACCESS_DENIED;
    case SQLITE_NOMEM:
        return ERROR_OUTOFMEMORY;
    case SQLITE_TOOBIG:
        return ERROR_INVALID_PARAMETER;
    case SQLITE_MISMATCH: // a later schema
        return ERROR_BADDB;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return ERROR_REGISTRY_CORRUPT;
    default:
        return ERROR_REGISTRY_IO_FAILED;
    }
}

static int ReadSchemaVersion(sqlite3* db, int& version)
{
    Statement pragma(db, "PRAGMA user_version");
    const int result = pragma.Step();
    if (result != SQLITE_ROW)
        return result;
    version = static_cast<int>(pragma.Int(0));
    return version == 0 || version == SCHEMA_VERSION ? SQLITE_OK : SQLITE_MISMATCH;
}

// With our schema's number in the file, a statement that doesn't compile means that the tables aren't what they were.
static int SchemaErrorAsDamage(int result)
{
    return (result & 0xFF) == SQLITE_ERROR ? SQLITE_CORRUPT : result;
}

static int ReadStore(sqlite3* db, const StoreWork& work)
{
    // Everything at the same time, and under one lock.
    int result = sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    if (result != SQLITE_OK)
        return result;
    int version = 0;
    result = ReadSchemaVersion(db, version);
    if (result == SQLITE_OK)
        result = version == 0 ? SQLITE_NOTFOUND : SchemaErrorAsDamage(work(db));
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    return result;
}

static int WriteStore(sqlite3* db, const StoreWork& work)
{
    int result = sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    if (result != SQLITE_OK)
        return result;
    int version = 0;
    result = ReadSchemaVersion(db, version);
    if (result == SQLITE_OK && version == 0)
        result = sqlite3_exec(db, SCHEMA, nullptr, nullptr, nullptr);
    if (result == SQLITE_OK)
        result = SchemaErrorAsDamage(work(db));
    if (result == SQLITE_OK)
        result = sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    if (result != SQLITE_OK)
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    return result;
}

// The file that was worked on last, as that work left it.
static struct
{
    std::string path;
    struct stat state = {};
    sqlite3* db = nullptr;
} s_Open;

static void CloseOpenFile()
{
    sqlite3_close(s_Open.db);
    s_Open.db = nullptr;
}

static bool IsSameState(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_ctim.tv_sec == b.st_ctim.tv_sec && a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

// Whether a name stands for the open file and nothing has happened to it since: it isn't another one, nor written to,
// nor are its rights changed.
static bool IsOpenFile(const std::string& file)
{
    struct stat now = {};
    return s_Open.db && s_Open.path == file && stat(file.c_str(), &now) == 0 && IsSameState(now, s_Open.state);
}

// All that is in a file, as it was read last. An export asks for the same few values over and over, and each question
// to the file takes locks and a statement to compile.
static struct
{
    std::string path;
    struct stat state = {}; // of the file, before it was read
    RegistryTable table;
    bool isWhole = false;
} s_Snapshot;

// A file that was written so shortly before it was read may be written again without its time showing that.
static const int CLOCK_STEP_MS = 100;

static bool HasSettled(const struct stat& state)
{
    struct timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const long long age =
        (now.tv_sec - state.st_ctim.tv_sec) * 1000LL + (now.tv_nsec - state.st_ctim.tv_nsec) / 1000000;
    return age > CLOCK_STEP_MS;
}

// What the file of that name holds, if it is known without opening it; else null.
static const RegistryTable* FindSnapshot(const std::string& file)
{
    struct stat now = {};
    const bool isSame = s_Snapshot.isWhole && s_Snapshot.path == file && stat(file.c_str(), &now) == 0 &&
                        IsSameState(now, s_Snapshot.state);
    return isSame ? &s_Snapshot.table : nullptr;
}

static int ReadTable(sqlite3* db, RegistryTable& table)
{
    int result = SQLITE_OK;
    Statement keys(db, "SELECT path FROM registry_key");
    while ((result = keys.Step()) == SQLITE_ROW)
        table.AddKey(keys.Text(0));
    if (result == SQLITE_DONE)
    {
        Statement values(db, "SELECT path, name, type, data FROM registry_value");
        while ((result = values.Step()) == SQLITE_ROW)
            table.SetValue(values.Text(0), values.Text(1), {static_cast<DWORD>(values.Int(2)), values.Bytes(3)});
    }
    return result == SQLITE_DONE ? SQLITE_OK : result;
}

// Under a folder lock.
static int OnFile(const std::string& file, bool writes, const StoreWork& work)
{
    int result = SQLITE_OK;
    if (!IsOpenFile(file))
    {
        CloseOpenFile();
        std::error_code error;
        if (!writes && !fs::exists(file, error))
            return SQLITE_NOTFOUND;
        const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (writes ? SQLITE_OPEN_CREATE : 0);
        s_Open.path = file;
        result = sqlite3_open_v2(file.c_str(), &s_Open.db, flags, nullptr);
        if (result == SQLITE_OK)
            sqlite3_busy_timeout(s_Open.db, BUSY_TIMEOUT_MS);
    }
    if (result == SQLITE_OK)
        result = writes ? WriteStore(s_Open.db, work) : ReadStore(s_Open.db, work);
    const bool isWhole = result == SQLITE_OK || result == SQLITE_NOTFOUND;
    if (!isWhole || stat(file.c_str(), &s_Open.state) != 0)
        CloseOpenFile();
    return result;
}

static bool MoveAside(const std::string& file)
{
    const std::string aside = file + ".damaged";
    // The journal goes along: left behind, it would be played back into the fresh store.
    std::remove((aside + "-journal").c_str());
    std::rename((file + "-journal").c_str(), (aside + "-journal").c_str());
    return std::rename(file.c_str(), aside.c_str()) == 0;
}

// A damaged file gives way to a fresh store. Of several processes that find the damage one exchanges the file; the
// others wait and then find the fresh store.
static int OnFileOrFresh(const std::string& file, bool writes, const StoreWork& work)
{
    const std::string folder = fs::path(file).parent_path().string();
    {
        const FolderLock shared(folder, LOCK_SH);
        const int result = shared.TimedOut() ? SQLITE_BUSY : OnFile(file, writes, work);
        if (!IsDamage(result))
            return result;
    }
    const FolderLock alone(folder, LOCK_EX);
    const int result = alone.TimedOut() ? SQLITE_BUSY : OnFile(file, writes, work);
    return IsDamage(result) && MoveAside(file) ? OnFile(file, writes, work) : result;
}

static RegistryTable s_Memory; // the store without a file

static LONG WriteFile(const StoreWork& work)
{
    const std::string file = GetRegistryFile();
    if (!MakeFolders(fs::path(file).parent_path().string()))
        return ERROR_ACCESS_DENIED;
    return ToRegistryError(OnFileOrFresh(file, true, work));
}

// Hands out the table to read from: of the store in memory, or of the file as it is now.
static LONG ReadStoreTable(const RegistryTable*& table)
{
    const std::string file = GetRegistryFile();
    table = file.empty() ? &s_Memory : FindSnapshot(file);
    if (table)
        return ERROR_SUCCESS;
    s_Snapshot.isWhole = false;
    s_Snapshot.table.Clear();
    s_Snapshot.path = file;
    const bool isThere = stat(file.c_str(), &s_Snapshot.state) == 0;
    const int result = OnFileOrFresh(file, false, [](sqlite3* db) { return ReadTable(db, s_Snapshot.table); });
    s_Snapshot.isWhole = isThere && result == SQLITE_OK && HasSettled(s_Snapshot.state);
    table = &s_Snapshot.table;
    return ToRegistryError(result);
}

static int FindKey(sqlite3* db, const std::string& key)
{
    Statement select(db, "SELECT 1 FROM registry_key WHERE path = ?");
    select.BindText(1, key);
    const int result = select.Step();
    if (result == SQLITE_ROW)
        return SQLITE_OK;
    return result == SQLITE_DONE ? SQLITE_NOTFOUND : result;
}

static int InsertKeys(sqlite3* db, const std::string& key)
{
    size_t end = 0;
    do
    {
        end = key.find('\\', end + 1);
        const std::string upTo = key.substr(0, end);
        Statement insert(db, "INSERT OR IGNORE INTO registry_key(path) VALUES(?)");
        insert.BindText(1, upTo);
        const int result = insert.Run();
        if (result != SQLITE_OK)
            return result;
    } while (end != std::string::npos);
    return SQLITE_OK;
}

LONG FindRegistryKey(const std::string& key)
{
    const RegistryTable* table = nullptr;
    const LONG result = ReadStoreTable(table);
    return result == ERROR_SUCCESS && !table->HasKey(key) ? ERROR_FILE_NOT_FOUND : result;
}

LONG CreateRegistryKey(const std::string& key, bool& created)
{
    created = false;
    if (*GetRegistryFile() == 0)
    {
        created = !s_Memory.HasKey(key);
        s_Memory.AddKey(key);
        return ERROR_SUCCESS;
    }
    return WriteFile(
        [&](sqlite3* db)
        {
            const int found = FindKey(db, key);
            created = found == SQLITE_NOTFOUND;
            return created ? InsertKeys(db, key) : found;
        });
}

LONG ReadRegistryValue(const std::string& key, const std::string& name, RegistryValue& value)
{
    const RegistryTable* table = nullptr;
    const LONG result = ReadStoreTable(table);
    const RegistryValue* found = result == ERROR_SUCCESS ? table->FindValue(key, name) : nullptr;
    if (found)
        value = *found;
    return result == ERROR_SUCCESS && !found ? ERROR_FILE_NOT_FOUND : result;
}

// Whether the store is known to hold that value already; then there is nothing to write.
static bool HoldsValue(const std::string& key, const std::string& name, const RegistryValue& value)
{
    const RegistryTable* table = FindSnapshot(GetRegistryFile());
    const RegistryValue* old = table && table->HasKey(key) ? table->FindValue(key, name) : nullptr;
    return old && old->type == value.type && old->data == value.data;
}

LONG WriteRegistryValue(const std::string& key, const std::string& name, const RegistryValue& value)
{
    if (*GetRegistryFile() == 0)
    {
        s_Memory.AddKey(key);
        s_Memory.SetValue(key, name, value);
        return ERROR_SUCCESS;
    }
    if (HoldsValue(key, name, value))
        return ERROR_SUCCESS;
    return WriteFile(
        [&](sqlite3* db)
        {
            const int result = InsertKeys(db, key);
            if (result != SQLITE_OK)
                return result;
            Statement insert(db, "INSERT INTO registry_value(path, name, type, data) VALUES(?, ?, ?, ?)"
                                 " ON CONFLICT(path, name) DO UPDATE SET type = excluded.type,"
                                 " data = excluded.data");
            insert.BindText(1, key);
            insert.BindText(2, name);
            insert.BindInt(3, value.type);
            insert.BindBytes(4, value.data);
            return insert.Run();
        });
}

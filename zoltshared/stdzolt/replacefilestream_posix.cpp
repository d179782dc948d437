#include "zoltshared/stdzolt/replacefilestream.h"

#ifndef _WIN32

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

ZOLT_BEGIN_NAMESPACE

static constexpr int MAX_LINKS = 40;
static constexpr int MAX_KEPT_NAME = 150; // bytes of the target's name in that of the temporary file

// A path cut into its folder and its name.
struct PathParts
{
    char m_Folder[PATH_MAX];
    const char* m_pName;
};

static bool SplitPath(const char* pPath, PathParts& parts)
{
    const char* pSlash = std::strrchr(pPath, '/');
    parts.m_pName = pSlash ? pSlash + 1 : pPath;
    const int length = static_cast<int>(parts.m_pName - pPath);
    const int written = pSlash ? std::snprintf(parts.m_Folder, PATH_MAX, "%.*s", length, pPath)
                               : std::snprintf(parts.m_Folder, PATH_MAX, "./");
    return written >= 0 && written < PATH_MAX;
}

// Follows symbolic links to the path behind the last one, whether or not there is a file.
static bool FollowLinks(const char* pFilename, char (&path)[PATH_MAX])
{
    if (std::snprintf(path, PATH_MAX, "%s", pFilename) >= PATH_MAX)
        return false;
    for (int i = 0; i < MAX_LINKS; i++)
    {
        struct stat status;
        if (lstat(path, &status) != 0)
            return errno == ENOENT;
        if (!S_ISLNK(status.st_mode))
            return true;
        char link[PATH_MAX];
        const ssize_t length = readlink(path, link, sizeof(link) - 1);
        if (length < 0)
            return false;
        link[length] = 0;
        PathParts parts;
        if (link[0] == '/')
            parts.m_Folder[0] = 0;
        else if (!SplitPath(path, parts))
            return false;
        const int written = std::snprintf(path, PATH_MAX, "%s%s", parts.m_Folder, link);
        if (written < 0 || written >= PATH_MAX)
            return false;
    }
    return false;
}

// Process ids mean something on their own machine only, so that the names carry a mark of it.
static uint32_t MachineMark()
{
    char name[256] = {};
    gethostname(name, sizeof(name) - 1);
    uint32_t hash = 2166136261U; // FNV-1a
    for (const char* p = name; *p; p++)
        hash = (hash ^ static_cast<unsigned char>(*p)) * 16777619U;
    return hash;
}

// What the names of the temporary files of a target start with; the process id and a number follow.
static void MakePrefix(const char* pName, char (&prefix)[NAME_MAX + 1])
{
    std::snprintf(prefix, sizeof(prefix), ".%.*s.zolt-%08x-", MAX_KEPT_NAME, pName, MachineMark());
}

// Creates a file of a new name beside the target. On failure errno tells why.
static int CreateTemporary(const PathParts& target, mode_t mode, char (&path)[PATH_MAX])
{
    static unsigned counter = 0;
    char prefix[NAME_MAX + 1];
    MakePrefix(target.m_pName, prefix);
    for (int i = 0; i < 1000; i++)
    {
        const int written = std::snprintf(path, PATH_MAX, "%s%s%ld-%u.tmp", target.m_Folder, prefix,
                                          static_cast<long>(getpid()), counter++);
        if (written < 0 || written >= PATH_MAX)
        {
            errno = ENAMETOOLONG;
            return -1;
        }
        const int fd = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    return -1;
}

static void CopyOwnerAndMode(int fd, const struct stat& target)
{
    mode_t mode = target.st_mode & 07777;
    struct stat own;
    if (fstat(fd, &own) == 0 && (own.st_uid != target.st_uid || own.st_gid != target.st_gid) &&
        fchown(fd, target.st_uid, target.st_gid) != 0)
    {
        // Another's file: what the mode lends its owner or group mustn't be lent by us.
        mode &= 01777;
        if (fchown(fd, static_cast<uid_t>(-1), target.st_gid) != 0)
            mode &= ~static_cast<mode_t>(own.st_gid == target.st_gid ? 0 : 070);
    }
    // Some file systems have no modes; there the file is as good as the old one.
    (void)fchmod(fd, mode);
}

// In a sticky folder only the owners of the file and of the folder may put another file in its place.
static bool MayReplace(const PathParts& target, const struct stat& status)
{
    struct stat folder;
    if (stat(target.m_Folder, &folder) != 0 || !(folder.st_mode & S_ISVTX))
        return true;
    const uid_t user = geteuid();
    return user == 0 || status.st_uid == user || folder.st_uid == user;
}

static bool CanWrite(const char* pPath)
{
    const int fd = open(pPath, O_WRONLY | O_CLOEXEC);
    if (fd >= 0)
        close(fd);
    return fd >= 0;
}

bool ReplaceFileStream::Open(const char* pFilename)
{
    struct stat status;
    const bool bExists = stat(pFilename, &status) == 0;
    if (bExists && !S_ISREG(status.st_mode))
        return OpenDirect(pFilename);

    char target[PATH_MAX];
    PathParts parts;
    if (!FollowLinks(pFilename, target) || !SplitPath(target, parts) || !*parts.m_pName)
        return OpenDirect(pFilename, bExists);
    if (bExists)
    {
        // The links of open files (/dev/stdout) may name something else by now, or nothing.
        struct stat end;
        if (stat(target, &end) != 0 || end.st_dev != status.st_dev || end.st_ino != status.st_ino)
            return OpenDirect(pFilename, bExists);
        if (!CanWrite(target))
            return false;
        if (!MayReplace(parts, status))
            return OpenDirect(pFilename, bExists);
    }

    char temporary[PATH_MAX];
    const int fd = CreateTemporary(parts, bExists ? 0600 : 0666, temporary);
    if (fd < 0)
    {
        // A full disk isn't a reason to truncate the old file.
        const bool bNoneCanBe = errno == EACCES || errno == EPERM || errno == EROFS || errno == ENAMETOOLONG;
        return bNoneCanBe && OpenDirect(pFilename, bExists);
    }
    if (bExists)
        CopyOwnerAndMode(fd, status);
    m_Target.Set(target);
    m_Temporary.Set(temporary);
    if (*m_Target.GetString() && *m_Temporary.GetString())
        m_pFile = fdopen(fd, "w+b");
    m_bCanReadBack = m_pFile != nullptr;
    if (m_pFile)
        return true;
    close(fd);
    unlink(temporary);
    m_Temporary.Clear();
    return false;
}

bool ReplaceFileStream::CloseSynced()
{
    bool bDone = !m_bError && !std::ferror(m_pFile);
    bDone = std::fflush(m_pFile) == 0 && bDone;
    // A pipe can't be synced, and needn't be.
    bDone = (fsync(fileno(m_pFile)) == 0 || (m_bDirect && errno != EIO && errno != ENOSPC)) && bDone;
    bDone = std::fclose(m_pFile) == 0 && bDone;
    m_pFile = nullptr;
    return bDone;
}

// True for the name of a temporary file of this target whose process is gone.
static bool IsStale(const char* pName, const char* pPrefix)
{
    const size_t length = std::strlen(pPrefix);
    if (std::strncmp(pName, pPrefix, length) != 0)
        return false;
    char* pEnd = nullptr;
    const long process = std::strtol(pName + length, &pEnd, 10);
    if (process <= 0 || process > INT_MAX || *pEnd != '-')
        return false;
    std::strtoul(pEnd + 1, &pEnd, 10);
    return std::strcmp(pEnd, ".tmp") == 0 && kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH;
}

// After the file is in place: makes its name last, and takes away what killed processes left. Neither is worth an
// error any more.
static void SyncAndSweepFolder(const char* pTarget)
{
    PathParts parts;
    DIR* pFolder = SplitPath(pTarget, parts) ? opendir(parts.m_Folder) : nullptr;
    if (!pFolder)
        return;
    (void)fsync(dirfd(pFolder));
    char prefix[NAME_MAX + 1];
    MakePrefix(parts.m_pName, prefix);
    while (const dirent* pEntry = readdir(pFolder))
    {
        if (IsStale(pEntry->d_name, prefix))
            unlinkat(dirfd(pFolder), pEntry->d_name, 0);
    }
    closedir(pFolder);
}

bool ReplaceFileStream::PutInPlace()
{
    if (std::rename(m_Temporary.GetString(), m_Target.GetString()) != 0)
        return false;
    SyncAndSweepFolder(m_Target.GetString());
    return true;
}

void ReplaceFileStream::RemoveFile(const char* pFilename)
{
    unlink(pFilename);
}

ZOLT_END_NAMESPACE

#endif

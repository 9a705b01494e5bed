// Whole files read and written. A file is replaced by renaming a complete, synced copy over it, so that
// a crash or a full disk at any moment leaves the old file or the new one whole, never a mix.
#include "shell/shell.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

std::atomic<int64_t> t_SavePause{0};

namespace {

// Held by every save, so that a quit can wait for it; once the process is ending no new save starts.
std::timed_mutex saving;
std::atomic<bool> ending{false};

std::string errortext(int code, const std::string& path) {
    return std::string(std::strerror(code)) + ": " + path;
}

int closefile(int fd) {
    // A close that fails after the data has gone out still counts: the caller decides.
    return close(fd) == 0 ? 0 : errno;
}

// Write all of text from offset on, whatever the kernel takes per call.
int writeall(int fd, std::string_view text, off_t offset = -1) {
    const char* data = text.data();
    size_t left = text.size();
    while (left > 0) {
        const ssize_t written = offset < 0 ? write(fd, data, left) : pwrite(fd, data, left, offset);
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        data += written;
        left -= static_cast<size_t>(written);
        if (offset >= 0) offset += written;
    }
    return 0;
}

uint64_t hashof(const uint8_t* data, size_t size) {
    uint64_t hash = 14695981039346656037u; // FNV-1a
    for (size_t i = 0; i < size; ++i) hash = (hash ^ data[i]) * 1099511628211u;
    return hash;
}

FileStamp stampof(const struct stat& info, const uint8_t* data, size_t size) {
    return {static_cast<int64_t>(size), int64_t{info.st_mtim.tv_sec} * 1000000000 + info.st_mtim.tv_nsec,
            hashof(data, size)};
}

int syncfolder(const std::string& folder) {
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return errno;
    int code = fsync(fd) == 0 ? 0 : errno;
    // Some file systems cannot sync a folder; the rename has happened all the same.
    if (code == EINVAL || code == EROFS) code = 0;
    close(fd);
    return code;
}

// The file a path leads to through any links, whether or not it exists: a link that leads nowhere yet
// stays a link, and its target is made.
std::string linktarget(const std::string& path) {
    std::string target = path;
    struct stat info {};
    for (int hop = 0; hop < 40 && lstat(target.c_str(), &info) == 0 && S_ISLNK(info.st_mode); ++hop) {
        char next[PATH_MAX];
        const ssize_t n = readlink(target.c_str(), next, sizeof next - 1);
        if (n <= 0) break;
        const std::string link(next, static_cast<size_t>(n));
        const size_t slash = target.rfind('/');
        target = link[0] == '/' || slash == std::string::npos ? link : target.substr(0, slash + 1) + link;
    }
    return target;
}

// Where no file can be made beside it, the file itself is rewritten. The new bytes go over the old without
// cutting the file first, and a write that fails puts the old bytes back, so that a full disk never
// leaves a cut file; the length is set once the new bytes are all there.
int writeinplace(const std::string& target, const std::string& path, std::string_view text,
                 FileStamp* stamp) {
    const int fd = open(target.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        const int code = errno;
        debuglog("setstringtofile: Error #" + errortext(code, path));
        return code;
    }
    std::string old;
    struct stat info {};
    if (fstat(fd, &info) == 0 && info.st_size > 0 && info.st_size <= t_FileSizeLimit) {
        old.resize(static_cast<size_t>(info.st_size));
        if (pread(fd, old.data(), old.size(), 0) != static_cast<ssize_t>(old.size())) old.clear();
    }
    int code = writeall(fd, text, 0);
    if (code == 0 && ftruncate(fd, static_cast<off_t>(text.size())) != 0) code = errno;
    if (code == 0 && fsync(fd) != 0) code = errno;
    if (code != 0 && !old.empty() && writeall(fd, old, 0) == 0) {
        if (ftruncate(fd, static_cast<off_t>(old.size())) == 0) fsync(fd);
    }
    if (code == 0 && stamp && fstat(fd, &info) == 0)
        *stamp = stampof(info, reinterpret_cast<const uint8_t*>(text.data()), text.size());
    const int closed = closefile(fd);
    if (code == 0) code = closed;
    if (code != 0) {
        debuglog("setstringtofile: Error #" + errortext(code, path));
        return code;
    }
    debuglog("setstringtofile: No file can be made beside " + path + ", so it was written in place.");
    return 0;
}

} // namespace

FileRead readfile(const std::string& path) {
    FileRead result;
    // Not blocking, so that a named pipe can't hold the caller at the open.
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        result.Error = errno;
        debuglog("getbinaryfromfile: Error #" + errortext(static_cast<int>(result.Error), path));
        return result;
    }
    struct stat info {};
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        result.Error = S_ISDIR(info.st_mode) ? EISDIR : ENODEV;
        debuglog(S_ISDIR(info.st_mode) ? "getbinaryfromfile: Error #" + errortext(EISDIR, path)
                                       : "getbinaryfromfile: Not a regular file, so not read: " + path);
        close(fd);
        return result;
    }
    if (info.st_size > t_FileSizeLimit) {
        close(fd);
        debuglog("getbinaryfromfile: Larger than 256 MiB, so not read: " + path);
        return {{}, EFBIG, {}};
    }
    std::vector<uint8_t>& bytes = result.Bytes;
    // One byte more than the size, so that the end shows without a second allocation; a file that
    // grows meanwhile is still read to its end, up to the limit.
    bytes.resize(static_cast<size_t>(std::min<int64_t>(info.st_size, t_FileSizeLimit)) + 1);
    size_t used = 0;
    for (;;) {
        if (used == bytes.size()) {
            if (static_cast<int64_t>(used) > t_FileSizeLimit) {
                close(fd);
                debuglog("getbinaryfromfile: Larger than 256 MiB, so not read: " + path);
                return {{}, EFBIG, {}};
            }
            bytes.resize(std::min<size_t>(bytes.size() * 2, static_cast<size_t>(t_FileSizeLimit) + 1));
        }
        const ssize_t got = read(fd, bytes.data() + used, bytes.size() - used);
        if (got < 0) {
            if (errno == EINTR) continue;
            const int code = errno;
            close(fd);
            debuglog("getbinaryfromfile: Error #" + errortext(code, path));
            return {{}, code, {}};
        }
        if (got == 0) break;
        used += static_cast<size_t>(got);
    }
    close(fd);
    bytes.resize(used);
    result.Stamp = stampof(info, bytes.data(), bytes.size());
    return result;
}

std::vector<uint8_t> getbinaryfromfile(const std::string& path) {
    return readfile(path).Bytes;
}

// The old file is replaced by a rename of a complete, synced copy: a crash or a full disk at any
// moment leaves either the old or the new file whole.
int64_t setstringtofile(const std::string& path, std::string_view text, FileStamp* stamp) {
    std::lock_guard<std::timed_mutex> busy(saving);
    if (ending.load()) {
        debuglog("setstringtofile: The program is ending, so this was not saved: " + path);
        return ECANCELED;
    }
    // A link stays a link: its target is what gets replaced.
    const std::string target = linktarget(path);
    const size_t slash = target.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : target.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? target : target.substr(slash + 1);

    // A file the user has made read-only stays as it is.
    struct stat current {};
    const bool exists = stat(target.c_str(), &current) == 0;
    if (exists && S_ISREG(current.st_mode) && !(current.st_mode & S_IWUSR)) {
        debuglog("setstringtofile: The file is read-only and was not saved: " + path);
        return EACCES;
    }
    // A fresh name beside the target, created exclusively, so the rename stays within one file system.
    // Readable by the owner only: the participants' answers are nobody else's business.
    static std::atomic<uint64_t> serial{0};
    std::string temporary;
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        temporary = (slash == std::string::npos ? std::string() : folder) + "." + name + "." +
                    std::to_string(getpid()) + "." + std::to_string(serial.fetch_add(1)) + ".tmp";
        fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0 && errno != EEXIST) break;
    }
    if (fd < 0) {
        const int code = errno;
        if (exists && (code == EACCES || code == EPERM || code == EROFS))
            return writeinplace(target, path, text, stamp);
        debuglog("setstringtofile: Error #" + errortext(code, path));
        return code;
    }
    // The new file keeps the old one's permissions.
    int code = 0;
    if (exists && fchmod(fd, current.st_mode & 07777) != 0) code = errno;
    if (code == 0) code = writeall(fd, text);
    if (code == 0 && fsync(fd) != 0) code = errno;
    struct stat written {};
    if (code == 0 && stamp && fstat(fd, &written) != 0) code = errno;
    const int closed = closefile(fd);
    if (code == 0) code = closed;
    if (const int64_t pause = t_SavePause.load(); pause > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(pause));
    if (code == 0 && rename(temporary.c_str(), target.c_str()) != 0) code = errno;
    if (code != 0) {
        unlink(temporary.c_str());
        debuglog("setstringtofile: Error #" + errortext(code, path));
        return code;
    }
    if (stamp) *stamp = stampof(written, reinterpret_cast<const uint8_t*>(text.data()), text.size());
    code = syncfolder(folder);
    if (code != 0) {
        debuglog("setstringtofile: Error #" + errortext(code, path));
        return code;
    }
    return 0;
}

bool waitforsaves(int64_t milliseconds) {
    ending.store(true);
    if (!saving.try_lock_for(std::chrono::milliseconds(milliseconds))) return false;
    saving.unlock();
    return true;
}

std::string stampedname(const std::string& path, const std::string& extension) {
    char stamp[32];
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    strftime(stamp, sizeof stamp, "%Y-%m-%d-%H%M", &local);
    // An earlier file of the same minute stays as it is.
    std::string name = path + "." + stamp + extension;
    for (int n = 2; fileexists(name); ++n) name = path + "." + stamp + "-" + std::to_string(n) + extension;
    return name;
}

std::string keepcopy(const std::string& path, const std::vector<uint8_t>& bytes) {
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash);
    const std::string name = path.substr(slash == std::string::npos ? 0 : slash + 1) + ".";
    std::string same;
    if (DIR* dir = opendir(folder.c_str())) {
        while (const dirent* entry = readdir(dir)) {
            const std::string other = entry->d_name;
            if (other.size() > name.size() + 4 && other.compare(0, name.size(), name) == 0 &&
                other.compare(other.size() - 4, 4, ".bak") == 0 &&
                filesize(folder + "/" + other) == static_cast<int64_t>(bytes.size()) &&
                readfile(folder + "/" + other).Bytes == bytes)
                same = folder + "/" + other;
        }
        closedir(dir);
    }
    if (!same.empty()) return same;
    const std::string copy = stampedname(path, ".bak");
    if (setstringtofile(copy, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())) !=
        0)
        return "";
    if (readfile(copy).Bytes != bytes) {
        debuglog("keepcopy: The copy " + copy + " does not hold all the bytes.");
        return "";
    }
    return copy;
}

int holdfilelock(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string lock = path.substr(0, slash == std::string::npos ? 0 : slash + 1) + "." +
                             path.substr(slash == std::string::npos ? 0 : slash + 1) + ".lock";
    int fd = open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    // In a folder where nothing can be made the file itself carries the lock: saves there rewrite it in
    // place, so it stays the same file.
    if (fd < 0) fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        debuglog("holdfilelock: No lock can be had for " + path + ", so a second copy would go unnoticed.");
        return -1;
    }
    while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        const int code = errno;
        close(fd);
        if (code == EWOULDBLOCK) return 0;
        debuglog("holdfilelock: Error #" + errortext(code, lock));
        return -1;
    }
    // The descriptor stays open, and with it the lock, until the process ends however it ends.
    return 1;
}

bool fileexists(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 || errno != ENOENT;
}

bool folderwritable(const std::string& folder) {
    return access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0;
}

int64_t filesize(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) ? static_cast<int64_t>(info.st_size) : -1;
}

void removeleftovers(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash);
    const std::string start = "." + path.substr(slash == std::string::npos ? 0 : slash + 1) + ".";
    DIR* dir = opendir(folder.c_str());
    if (!dir) return;
    while (const dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name.size() <= start.size() + 4 || name.compare(0, start.size(), start) != 0 ||
            name.compare(name.size() - 4, 4, ".tmp") != 0)
            continue;
        // The name holds the saving process's number: one that still runs may be in the middle of a save.
        const long pid = std::strtol(name.c_str() + start.size(), nullptr, 10);
        const std::string leftover = folder + "/" + name;
        if (pid > 0 && pid != getpid() && (kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM)) {
            debuglog("removeleftovers: Kept " + leftover + ", since process " + std::to_string(pid) +
                     " still runs.");
            continue;
        }
        if (unlink(leftover.c_str()) == 0)
            debuglog("removeleftovers: Removed " + leftover + ", left by a save that was cut off.");
    }
    closedir(dir);
}

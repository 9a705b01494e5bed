// Whole files read and written. A file is replaced by renaming a complete, synced copy over it, so that
// a crash or a full disk at any moment leaves the old file or the new one whole, never a mix.
#include "shell/shell.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <dirent.h>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string errortext(int code, const std::string& path) {
    return std::string(std::strerror(code)) + ": " + path;
}

int closefile(int fd) {
    // A close that fails after the data has gone out still counts: the caller decides.
    return close(fd) == 0 ? 0 : errno;
}

// Write all of text, whatever the kernel takes per call.
int writeall(int fd, std::string_view text) {
    const char* data = text.data();
    size_t left = text.size();
    while (left > 0) {
        const ssize_t written = write(fd, data, left);
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        data += written;
        left -= static_cast<size_t>(written);
    }
    return 0;
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

// Where no file can be made beside it, the file itself is rewritten: not safe against a crash in the
// middle, but the only way to save at all.
int writeinplace(const std::string& target, const std::string& path, std::string_view text) {
    const int fd = open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    int code = fd < 0 ? errno : writeall(fd, text);
    if (fd >= 0 && code == 0 && fsync(fd) != 0) code = errno;
    if (fd >= 0) {
        const int closed = closefile(fd);
        if (code == 0) code = closed;
    }
    if (code != 0) {
        debuglog("setstringtofile: Error #" + errortext(code, path));
        return code;
    }
    debuglog("setstringtofile: No file can be made beside " + path + ", so it was written in place.");
    return 0;
}

} // namespace

std::vector<uint8_t> getbinaryfromfile(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        debuglog("getbinaryfromfile: Error #" + errortext(errno, path));
        return {};
    }
    std::vector<uint8_t> bytes;
    struct stat info {};
    if (fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
        debuglog("getbinaryfromfile: Error #" + errortext(EISDIR, path));
        close(fd);
        return {};
    }
    // One byte more than the size, so that the end shows without a second allocation; a file that
    // grows meanwhile is still read to its end.
    bytes.resize(info.st_size > 0 ? static_cast<size_t>(info.st_size) + 1 : 65536);
    size_t used = 0;
    for (;;) {
        if (used == bytes.size()) bytes.resize(bytes.size() * 2);
        const ssize_t got = read(fd, bytes.data() + used, bytes.size() - used);
        if (got < 0) {
            if (errno == EINTR) continue;
            const int code = errno;
            close(fd);
            debuglog("getbinaryfromfile: Error #" + errortext(code, path));
            return {};
        }
        if (got == 0) break;
        used += static_cast<size_t>(got);
    }
    close(fd);
    bytes.resize(used);
    return bytes;
}

// The old file is replaced by a rename of a complete, synced copy: a crash or a full disk at any
// moment leaves either the old or the new file whole.
int64_t setstringtofile(const std::string& path, std::string_view text) {
    std::string target = path;
    // A link stays a link: its target is what gets replaced.
    struct stat linkinfo {};
    if (lstat(path.c_str(), &linkinfo) == 0 && S_ISLNK(linkinfo.st_mode)) {
        char resolved[PATH_MAX];
        if (realpath(path.c_str(), resolved)) target = resolved;
    }
    const size_t slash = target.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : target.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? target : target.substr(slash + 1);

    // A file the user has made read-only stays as it is.
    struct stat current {};
    if (stat(target.c_str(), &current) == 0 && S_ISREG(current.st_mode) && !(current.st_mode & S_IWUSR)) {
        debuglog("setstringtofile: The file is read-only and was not saved: " + path);
        return EACCES;
    }
    // A fresh name beside the target, created exclusively, so the rename stays within one file system.
    static std::atomic<uint64_t> serial{0};
    std::string temporary;
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        temporary = (slash == std::string::npos ? std::string() : folder) + "." + name + "." +
                    std::to_string(getpid()) + "." + std::to_string(serial.fetch_add(1)) + ".tmp";
        fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) break;
    }
    if (fd < 0) {
        const int code = errno;
        if (code == EACCES || code == EPERM || code == EROFS) return writeinplace(target, path, text);
        debuglog("setstringtofile: Error #" + errortext(code, path));
        return code;
    }
    // The new file keeps the old one's permissions; a new file has those the umask leaves.
    struct stat old {};
    int code = 0;
    if (stat(target.c_str(), &old) == 0 && fchmod(fd, old.st_mode & 07777) != 0) code = errno;
    if (code == 0) code = writeall(fd, text);
    if (code == 0 && fsync(fd) != 0) code = errno;
    const int closed = closefile(fd);
    if (code == 0) code = closed;
    if (code == 0 && rename(temporary.c_str(), target.c_str()) != 0) code = errno;
    if (code != 0) {
        unlink(temporary.c_str());
        debuglog("setstringtofile: Error #" + errortext(code, path));
        return code;
    }
    code = syncfolder(folder);
    if (code != 0) {
        debuglog("setstringtofile: Error #" + errortext(code, path));
        return code;
    }
    return 0;
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
        const std::string leftover = folder + "/" + name;
        if (unlink(leftover.c_str()) == 0)
            debuglog("removeleftovers: Removed " + leftover + ", left by a save that was cut off.");
    }
    closedir(dir);
}

// Host shell, the part without Qt: log, threads, files and the beep.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Log threshold: a message is printed only while this is 1 or more.
extern std::atomic<int64_t> t_DebugLevel;

// One log line: text and a line end, to standard output.
void debuglog(std::string_view text);
// Whether a line would be written: lines that can come once per symbol ask first, so that a quiet run
// doesn't format them.
inline bool debuglogging() {
    return t_DebugLevel.load(std::memory_order_relaxed) >= 1;
}
// A piece of a log line without a line end; the line goes out whole once a later piece ends it.
void debuglogpart(std::string_view text);
// Where the log goes; tests capture it. nullptr restores standard output.
void debuglogsink(std::function<void(std::string_view line)> sink);

// Running thread numbers of our own: 1 the main thread, 2 the first thread we start, and so on.
// Threads we did not start (the platform's own) answer 0.
int64_t threadnumber();
void threadregistermain();
int64_t threadregisternew();

// Threads and the main thread.
extern std::atomic<int64_t> t_TitleBarHeight;
extern std::function<void()> t_ProgramTerminateHandler;
void startprocess(std::function<void()> function, int64_t stackSize);
void callasynchronously(std::function<void()> function);
void t_RunOnMainThread(const std::function<void()>& block);
[[noreturn]] void t_QuitProgram(uint8_t window);
// In a coverage build, writes the counts out before the process ends without running its exit handlers.
void writecoverage();

// Whole files and the beep.
// What tells whether a file has changed since it was read or written: size, modification time and a hash
// of its bytes. Size -1: there was no file.
struct FileStamp {
    int64_t Size = -1;
    int64_t Time = 0; // nanoseconds
    uint64_t Hash = 0;
    bool operator==(const FileStamp&) const = default;
};
// A whole file as read: its bytes, 0 or why they couldn't be had (ENOENT: there is no such file), its stamp.
struct FileRead {
    std::vector<uint8_t> Bytes;
    int64_t Error = 0;
    FileStamp Stamp;
};
// Only regular files up to this size are read, far above any real evening; anything else gets one log line.
constexpr int64_t t_FileSizeLimit = int64_t{256} << 20;
FileRead readfile(const std::string& path);
std::vector<uint8_t> getbinaryfromfile(const std::string& path);
// With stamp, it becomes the stamp of the file as written.
int64_t setstringtofile(const std::string& path, std::string_view text, FileStamp* stamp = nullptr);
// The process is about to end: lets no new save start, and waits up to that long for one in progress.
// False when a save still runs.
bool waitforsaves(int64_t milliseconds);
// Tests only: milliseconds that each save sleeps between making its temporary file and the rename.
extern std::atomic<int64_t> t_SavePause;
// Keeps bytes beside path as "path.DATE-TIME.bak", readable by the owner only, unless a kept copy there
// holds the same bytes already. Gives the copy's path once it has been read back whole; empty otherwise.
std::string keepcopy(const std::string& path, const std::vector<uint8_t>& bytes);
// A name beside the file that no file has yet: its name, the minute and the extension.
std::string stampedname(const std::string& path, const std::string& extension);
// A lock on path for the rest of the process, in a lock file beside it: 1 taken, 0 held by another running
// process, -1 when none can be had. A lock of a process that has ended is free again.
int holdfilelock(const std::string& path);
// Whether anything is at path; a link that leads nowhere counts as nothing.
bool fileexists(const std::string& path);
// The size of a plain file, -1 when there is none.
int64_t filesize(const std::string& path);
// Removes the temporary files that saves of this file cut off by a crash have left beside it, but not
// those of a process that still runs.
void removeleftovers(const std::string& path);
// True when files can be made in the folder.
bool folderwritable(const std::string& folder);
void t_Beep();

// The application's folder "Name.app", found from the running executable; tests may set another.
std::string bundlepath();
void setbundlepath(const std::string& path);

// The clock: seconds since 2001-01-01 UTC, and the same times 1000 cut to whole milliseconds.
double absolutetime();
int64_t absolutetimems();

// A sound read from an AIFF file: PCM as 16-bit samples, interleaved by channel, whatever the file's width.
struct AiffSound {
    int64_t Channels = 0;
    double SampleRate = 0;
    int64_t Bits = 0; // the sample width in the file
    int64_t Frames = 0;
    std::vector<int16_t> Samples;
};
// Reads uncompressed AIFF from memory; false and one log line for anything it cannot use.
bool aiffdecode(const std::vector<uint8_t>& bytes, AiffSound& out);

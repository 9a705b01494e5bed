// Reading whole files and replacing them so that a failure at any moment leaves the old file whole.
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

using testsupport::LogCapture;

std::string readback(const std::string& path) {
    const std::vector<uint8_t> bytes = getbinaryfromfile(path);
    return {bytes.begin(), bytes.end()};
}

// A disk that fills up in the middle of the write: the file size limit stands in for it.
int64_t filledup(const std::function<int64_t()>& write) {
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{4096, old.rlim_max};
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const int64_t code = write();
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, previous);
    return code;
}

class Files : public ::testing::Test {
  protected:
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string folder = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "filestest.XXXXXX").string();
        return std::string(mkdtemp(pattern.data())) + "/";
    }();
};

TEST_F(Files, LinksStayLinksAndNewFilesArePrivate) {
    // A new file is its owner's alone, whatever the umask allows. Through a link, even one that leads
    // nowhere yet, the target is written; the link stays, and a target keeps its mode.
    const std::string path = folder + "Seelenorakel-Daten.txt", link = folder + "verweis";
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    const mode_t mask = umask(0);
    ASSERT_EQ(setstringtofile(link, "alt\r"), 0);
    umask(mask);
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    ASSERT_EQ(setstringtofile(link, "über den Verweis"), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(readback(path), "über den Verweis");
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0640));
}

// Only regular files up to 256 MiB are read: a named pipe doesn't hold the reader, /dev/zero doesn't fill
// the memory.
TEST_F(Files, OnlyRegularFilesAreRead) {
    const std::string fifo = folder + "fifo", zero = folder + "zero", big = folder + "big";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", zero);
    std::ofstream(big).close();
    std::filesystem::resize_file(big, (uint64_t{256} << 20) + 1);
    for (const auto& [path, line] : {std::pair{fifo, "Not a regular file"},
                                     {zero, "Not a regular file"},
                                     {big, "Larger than 256 MiB"}}) {
        LogCapture log;
        EXPECT_NE(readfile(path).Error, 0) << path;
        EXPECT_EQ(log.lines(), std::vector<std::string>{"getbinaryfromfile: " + std::string(line) +
                                                        ", so not read: " + path});
    }
}

TEST_F(Files, FailedWritesLeaveTheOldFileWhole) {
    const std::string path = folder + "daten.txt";
    ASSERT_EQ(setstringtofile(path, "die alten Daten\r"), 0);
    LogCapture log;
    EXPECT_EQ(setstringtofile(folder + "fehlt/daten.txt", "x"), ENOENT);
    EXPECT_EQ(filledup([&] { return setstringtofile(path, std::string(100000, 'n')); }), EFBIG);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"setstringtofile: Error #No such file or directory: " +
                                                         folder + "fehlt/daten.txt",
                                                     "setstringtofile: Error #File too large: " + path}));
    EXPECT_EQ(readback(path), "die alten Daten\r");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1); // no copy left behind
}

// A file made read-only stays as it is; a folder where nothing can be made gets its file written in place.
// As root, whom no permission stops, a thread with another user's file rights stands in for that user.
TEST_F(Files, ReadOnlyFilesStayAndUnwritableFoldersGetTheFileWrittenInPlace) {
    const std::string path = folder + "Seelenorakel-Daten.txt";
    ASSERT_EQ(setstringtofile(path, "alt\r"), 0);
    LogCapture log;
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    EXPECT_EQ(setstringtofile(path, "neu\r"), EACCES);
    EXPECT_EQ(readback(path), "alt\r");
    ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0555), 0);
    int64_t code = -1, full = -1;
    std::thread user([&] {
        // File rights are per thread at this level (setuid would change the whole process).
        if (geteuid() == 0) syscall(SYS_setfsgid, 65534), syscall(SYS_setfsuid, 65534);
        code = setstringtofile(path, "neu\r");
        full = filledup([&] { return setstringtofile(path, std::string(100000, 'n')); });
    });
    user.join();
    chmod(folder.c_str(), 0700);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(full, EFBIG);
    EXPECT_EQ(readback(path), "neu\r");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"setstringtofile: The file is read-only and was not saved: " + path,
                                        "setstringtofile: No file can be made beside " + path +
                                            ", so it was written in place.",
                                        "setstringtofile: Error #File too large: " + path}));
}

} // namespace

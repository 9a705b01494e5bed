#include "shell/shell.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <linux/fs.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using testsupport::LogCapture;

std::string tempfolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "filestest.XXXXXX").string();
    return std::string(mkdtemp(pattern.data())) + "/";
}

std::string readback(const std::string& path) {
    const std::vector<uint8_t> bytes = getbinaryfromfile(path);
    return {bytes.begin(), bytes.end()};
}

std::vector<std::string> names(const std::string& folder) {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        found.push_back(entry.path().filename());
    return found;
}

// Makes a folder refuse new entries for as long as it lives: by mode for a normal user, and by the
// immutable flag for root, whom modes don't stop.
struct LockedFolder {
    std::string folder;
    bool locked = false;
    explicit LockedFolder(const std::string& f) : folder(f) {
        if (geteuid() != 0) {
            locked = chmod(folder.c_str(), 0555) == 0;
            return;
        }
        const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
        if (fd < 0) return;
        int flags = 0;
        if (ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0) {
            flags |= FS_IMMUTABLE_FL;
            locked = ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
        }
        close(fd);
    }
    ~LockedFolder() {
        if (!locked) return;
        if (geteuid() != 0) {
            chmod(folder.c_str(), 0755);
            return;
        }
        const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
        int flags = 0;
        if (ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0) {
            flags &= ~FS_IMMUTABLE_FL;
            ioctl(fd, FS_IOC_SETFLAGS, &flags);
        }
        close(fd);
    }
};

TEST(Files, ReadMissingEmptyAndWholeFiles) {
    const std::string folder = tempfolder();
    {
        LogCapture log;
        EXPECT_TRUE(getbinaryfromfile(folder + "fehlt").empty());
        EXPECT_TRUE(getbinaryfromfile(folder).empty());
        ASSERT_EQ(log.lines.size(), 2u);
        EXPECT_EQ(log.lines[0].rfind("getbinaryfromfile: Error #No such file or directory", 0), 0u);
        EXPECT_EQ(log.lines[1].rfind("getbinaryfromfile: Error #Is a directory", 0), 0u);
    }
    LogCapture log;
    ASSERT_EQ(setstringtofile(folder + "leer", ""), 0);
    EXPECT_TRUE(getbinaryfromfile(folder + "leer").empty());
    // Larger than any one read, with every byte value.
    std::string big;
    for (int i = 0; i < 300000; ++i) big += static_cast<char>(i * 7 % 256);
    ASSERT_EQ(setstringtofile(folder + "gross", big), 0);
    EXPECT_EQ(readback(folder + "gross"), big);
    EXPECT_TRUE(log.lines.empty());
    std::filesystem::remove_all(folder);
}

TEST(Files, ReplaceKeepsModeAndLeavesNoTemporary) {
    const std::string folder = tempfolder();
    const std::string path = folder + "Seelenorakel-Daten.txt";
    ASSERT_EQ(setstringtofile(path, "alt\r"), 0);
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    ASSERT_EQ(setstringtofile(path, "neu, länger als vorher\r"), 0);
    EXPECT_EQ(readback(path), "neu, länger als vorher\r");
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(names(folder), std::vector<std::string>{"Seelenorakel-Daten.txt"});

    // Through a link the target is replaced and the link stays.
    const std::string link = folder + "verweis";
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    ASSERT_EQ(setstringtofile(link, "über den Verweis"), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(readback(path), "über den Verweis");
    std::filesystem::remove_all(folder);
}

TEST(Files, FailedWritesLeaveTheOldFileWhole) {
    const std::string folder = tempfolder();
    const std::string path = folder + "daten.txt";
    ASSERT_EQ(setstringtofile(path, "die alten Daten\r"), 0);

    // A folder that doesn't exist.
    {
        LogCapture log;
        EXPECT_NE(setstringtofile(folder + "fehlt/daten.txt", "x"), 0);
        ASSERT_EQ(log.lines.size(), 1u);
        EXPECT_EQ(log.lines[0].rfind("setstringtofile: Error #No such file or directory", 0), 0u);
        EXPECT_FALSE(std::filesystem::exists(folder + "fehlt"));
    }
    // A disk that fills up in the middle of the write: the file size limit stands in for it.
    {
        struct rlimit old {};
        getrlimit(RLIMIT_FSIZE, &old);
        const auto previous = std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit small = old;
        small.rlim_cur = 4096;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
        LogCapture log;
        const int64_t code = setstringtofile(path, std::string(100000, 'n'));
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, previous);
        EXPECT_EQ(code, EFBIG);
        EXPECT_EQ(log.lines.size(), 1u);
        EXPECT_EQ(readback(path), "die alten Daten\r");
        EXPECT_EQ(names(folder), std::vector<std::string>{"daten.txt"});
    }
    // A folder that takes no new entries.
    {
        LockedFolder lock(folder);
        if (lock.locked) {
            LogCapture log;
            EXPECT_NE(setstringtofile(path, "neu"), 0);
            EXPECT_EQ(log.lines.size(), 1u);
            EXPECT_EQ(readback(path), "die alten Daten\r");
        }
    }
    EXPECT_EQ(names(folder), std::vector<std::string>{"daten.txt"});
    std::filesystem::remove_all(folder);
}

} // namespace

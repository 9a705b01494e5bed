// Small helpers that many tests share.
#pragma once

#include "shell/shell.h"
#include "store/store.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace testsupport {

// Collects the log lines of one test instead of printing them; for tests that log from one thread.
struct LogCapture {
    std::vector<std::string> lines;
    LogCapture() {
        debuglogsink([this](std::string_view line) { lines.emplace_back(line); });
    }
    ~LogCapture() { debuglogsink(nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    // How many lines begin with the prefix.
    size_t count(std::string_view prefix) const {
        return static_cast<size_t>(std::count_if(
            lines.begin(), lines.end(), [&](const std::string& l) { return l.rfind(prefix, 0) == 0; }));
    }
    bool has(const std::string& line) const {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
};

// The same for tests whose threads log while the test reads; the lines outlive the capture for late
// loggers.
struct ThreadLogCapture {
    std::shared_ptr<std::mutex> mutex = std::make_shared<std::mutex>();
    std::shared_ptr<std::vector<std::string>> captured = std::make_shared<std::vector<std::string>>();
    ThreadLogCapture() {
        debuglogsink([m = mutex, c = captured](std::string_view line) {
            std::lock_guard<std::mutex> lock(*m);
            c->emplace_back(line);
        });
    }
    ~ThreadLogCapture() { debuglogsink(nullptr); }
    std::vector<std::string> lines() const {
        std::lock_guard<std::mutex> lock(*mutex);
        return *captured;
    }
};

// The bundle the build makes beside the tests' folder, with the fonts and the beep.
inline std::string builtbundle() {
    char buffer[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0) return {};
    std::filesystem::path exe(std::string(buffer, static_cast<size_t>(n)));
    return (exe.parent_path().parent_path() / "Seelenorakel.app").string();
}

// An empty store, emptied without its log lines.
inline void freshstore() {
    t_DebugLevel = 0;
    d_DeleteDatabase(true);
    t_DebugLevel = 1;
}

} // namespace testsupport

// Small helpers that many tests share.
#pragma once

#include "shell/shell.h"
#include "store/store.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <unistd.h>

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
    bool has(const std::string& line) const {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
};

// The same for tests whose threads log while the test reads; the lines outlive the capture for late loggers.
struct ThreadLogCapture {
    struct Shared {
        std::mutex mutex;
        std::vector<std::string> lines;
    };
    std::shared_ptr<Shared> shared = std::make_shared<Shared>();
    ThreadLogCapture() {
        debuglogsink([s = shared](std::string_view line) {
            std::lock_guard<std::mutex> lock(s->mutex);
            s->lines.emplace_back(line);
        });
    }
    ~ThreadLogCapture() { debuglogsink(nullptr); }
    std::vector<std::string> lines() const {
        std::lock_guard<std::mutex> lock(shared->mutex);
        return shared->lines;
    }
};

// The bundle the build makes beside the tests' folder, with the fonts and the beep.
inline std::string builtbundle() {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "Seelenorakel.app")
        .string();
}

// An empty store, emptied without its log lines.
inline void freshstore() {
    t_DebugLevel = 0;
    d_DeleteDatabase(true);
    t_DebugLevel = 1;
}

} // namespace testsupport

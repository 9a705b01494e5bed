// The log: whole lines to standard output or to a sink a test installs. Pieces of a line collect per
// thread, so two threads never share one output line.
#include "shell/shell.h"

#include <cstdio>
#include <mutex>

std::atomic<int64_t> t_DebugLevel{1};

namespace {

std::mutex logMutex;
std::function<void(std::string_view)>* logSink = nullptr;
// Pieces of a line collect per thread, so two threads never share one output line.
thread_local std::string pendingLine;

void emitline(std::string_view line) {
    std::lock_guard<std::mutex> lock(logMutex);
    if (logSink) {
        (*logSink)(line);
        return;
    }
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
}

} // namespace

void debuglogpart(std::string_view text) {
    if (t_DebugLevel.load(std::memory_order_relaxed) < 1) return;
    size_t start = 0;
    for (size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n', start)) {
        pendingLine.append(text.substr(start, end - start));
        emitline(pendingLine);
        pendingLine.clear();
        start = end + 1;
    }
    pendingLine.append(text.substr(start));
}

void debuglog(std::string_view text) {
    if (t_DebugLevel.load(std::memory_order_relaxed) < 1) return;
    if (pendingLine.empty()) {
        emitline(text);
        return;
    }
    pendingLine.append(text);
    emitline(pendingLine);
    pendingLine.clear();
}

void debuglogsink(std::function<void(std::string_view line)> sink) {
    std::lock_guard<std::mutex> lock(logMutex);
    delete logSink;
    logSink = sink ? new std::function<void(std::string_view)>(std::move(sink)) : nullptr;
}

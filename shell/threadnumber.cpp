// Our own thread numbers: 1 for the main thread, then 2, 3 and on for the threads we start, so that the
// log and the checks can tell them apart.
#include "shell/shell.h"

namespace {
// Numbers are ours, not the system's: the platform starts threads of its own that must not count.
std::atomic<int64_t> nextThreadNumber{2};
thread_local int64_t currentThreadNumber = 0;
} // namespace

int64_t threadnumber() {
    return currentThreadNumber;
}

void threadregistermain() {
    currentThreadNumber = 1;
}

int64_t threadregisternew() {
    currentThreadNumber = nextThreadNumber.fetch_add(1);
    return currentThreadNumber;
}

// The toolkit's clock: seconds since 2001, read from the wall clock once and moved on by the steady
// clock after that, so that the time never steps back.
#include "shell/shell.h"

#include <chrono>

namespace {
// Seconds from 1970 to 2001, the epoch of the toolkit's clock.
constexpr double epoch2001 = 978307200.0;

struct ClockBase {
    double wallSeconds;
    std::chrono::steady_clock::time_point steadyStart;
};

// The wall clock is read once; after that the steady clock moves it on, so the time never steps back.
const ClockBase& clockbase() {
    static const ClockBase base{
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count() -
            epoch2001,
        std::chrono::steady_clock::now()};
    return base;
}
} // namespace

double absolutetime() {
    const ClockBase& base = clockbase();
    return base.wallSeconds +
           std::chrono::duration<double>(std::chrono::steady_clock::now() - base.steadyStart).count();
}

int64_t absolutetimems() {
    return static_cast<int64_t>(absolutetime() * 1000.0);
}

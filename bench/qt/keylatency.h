// Key to screen in the running program, for bench/keylatency.sh through the test harness.
#pragma once

#include <string>

// In a form field, alternately an x and Backspace; the time from the key reaching the view to the first
// painted frame after which the screen holds its echo. Answers "latency MEDIAN P99" in milliseconds, or
// "latency none" when a key shows nothing.
void measurelatency(int keys, void (*answer)(const std::string& line));

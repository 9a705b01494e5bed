// Makes the beep: a short 880 Hz tone with a soft attack and decay, 16-bit mono at 44100 Hz, as AIFF.
// Usage: beepgen OUTPUT.aif

#include "tools/aiffwrite.h"

#include <cmath>
#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: beepgen OUTPUT.aif\n");
        return 2;
    }
    constexpr double rate = 44100;
    constexpr double frequency = 880;
    constexpr double duration = 0.15;
    constexpr double attack = 0.005; // short enough to sound crisp, long enough not to click
    constexpr double amplitude = 0.5 * 32767;
    const double pi = std::acos(-1.0);
    const int frames = static_cast<int>(duration * rate);
    std::vector<int16_t> samples(frames);
    for (int i = 0; i < frames; ++i) {
        double t = i / rate;
        double envelope = t < attack ? t / attack : std::exp(-(t - attack) * 25.0);
        // The last milliseconds fade to silence so that the tone does not end in a click.
        double tail = (duration - t) / 0.01;
        if (tail < 1) envelope *= tail;
        samples[i] =
            static_cast<int16_t>(std::lround(amplitude * envelope * std::sin(2 * pi * frequency * t)));
    }
    std::vector<uint8_t> file = aiffencode(1, rate, samples);
    FILE* out = std::fopen(argv[1], "wb");
    if (!out || std::fwrite(file.data(), 1, file.size(), out) != file.size() || std::fclose(out) != 0) {
        std::fprintf(stderr, "beepgen: cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}

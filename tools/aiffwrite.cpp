// Writes 16-bit PCM as an AIFF file, for the beep the build makes and for the tests of the reader.
#include "tools/aiffwrite.h"

#include <cmath>

namespace {

void putbig(std::vector<uint8_t>& out, uint64_t value, int bytes) {
    for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void putid(std::vector<uint8_t>& out, const char* id) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(id[i]));
}

// 80-bit extended: sign and 15-bit exponent (bias 16383), then a 64-bit mantissa with its integer bit.
void putextended(std::vector<uint8_t>& out, double value) {
    if (!(value > 0) || !std::isfinite(value)) {
        putbig(out, 0, 2);
        putbig(out, 0, 8);
        return;
    }
    int exponent = 0;
    double fraction = std::frexp(value, &exponent); // value = fraction * 2^exponent, fraction in [0.5, 1)
    putbig(out, static_cast<uint64_t>(exponent - 1 + 16383), 2);
    putbig(out, static_cast<uint64_t>(std::ldexp(fraction, 64)), 8);
}

} // namespace

std::vector<uint8_t> aiffencode(int channels, double sampleRate, const std::vector<int16_t>& samples) {
    const uint64_t frames = channels > 0 ? samples.size() / static_cast<size_t>(channels) : 0;
    const uint64_t soundBytes = frames * static_cast<uint64_t>(channels) * 2;
    std::vector<uint8_t> out;
    putid(out, "FORM");
    putbig(out, 4 + (8 + 18) + (8 + 8 + soundBytes), 4);
    putid(out, "AIFF");
    putid(out, "COMM");
    putbig(out, 18, 4);
    putbig(out, static_cast<uint64_t>(channels), 2);
    putbig(out, frames, 4);
    putbig(out, 16, 2);
    putextended(out, sampleRate);
    putid(out, "SSND");
    putbig(out, 8 + soundBytes, 4);
    putbig(out, 0, 4); // offset
    putbig(out, 0, 4); // block size
    for (uint64_t i = 0; i < frames * static_cast<uint64_t>(channels); ++i)
        putbig(out, static_cast<uint16_t>(samples[i]), 2);
    return out;
}

// Reads the beep's sound: an AIFF file's COMM and SSND chunks decoded into 16-bit samples. A file cut off
// or of another kind is refused with one log line and read no further than it goes.
#include "shell/shell.h"

#include <cmath>
#include <algorithm>
#include <cstring>
#include <string>

namespace {

uint64_t big(const uint8_t* p, int bytes) {
    uint64_t value = 0;
    for (int i = 0; i < bytes; ++i) value = (value << 8) | p[i];
    return value;
}

// 80-bit extended: sign, 15-bit exponent with bias 16383, 64-bit mantissa with an explicit integer bit.
double extended(const uint8_t* p) {
    const int sign = p[0] & 0x80 ? -1 : 1;
    const int exponent = static_cast<int>(big(p, 2) & 0x7FFF);
    const uint64_t mantissa = big(p + 2, 8);
    if (exponent == 0x7FFF) return NAN;
    return sign * std::ldexp(static_cast<double>(mantissa), exponent - 16383 - 63);
}

bool refuse(const char* why) {
    debuglog(std::string("aiffdecode: ") + why);
    return false;
}

} // namespace

bool aiffdecode(const std::vector<uint8_t>& bytes, AiffSound& out) {
    out = AiffSound{};
    const uint8_t* data = bytes.data();
    if (bytes.size() < 12 || std::memcmp(data, "FORM", 4) != 0 || std::memcmp(data + 8, "AIFF", 4) != 0)
        return refuse("Not an AIFF file.");
    // A FORM size past the end is taken as the end: a chunk is still checked against what is there.
    const size_t end = std::min<uint64_t>(bytes.size(), 8 + big(data + 4, 4));

    const uint8_t* comm = nullptr;
    const uint8_t* sound = nullptr;
    size_t soundSize = 0;
    for (size_t at = 12; at + 8 <= end;) {
        const uint64_t size = big(data + at + 4, 4);
        if (size > end - at - 8) return refuse("A chunk runs past the end of the file.");
        const uint8_t* body = data + at + 8;
        if (std::memcmp(data + at, "COMM", 4) == 0) {
            if (size < 18) return refuse("The COMM chunk is too short.");
            comm = body;
        } else if (std::memcmp(data + at, "SSND", 4) == 0) {
            if (size < 8) return refuse("The SSND chunk is too short.");
            const uint64_t offset = big(body, 4);
            if (offset > size - 8) return refuse("The SSND offset runs past its chunk.");
            sound = body + 8 + offset;
            soundSize = static_cast<size_t>(size - 8 - offset);
        }
        at += 8 + size + (size & 1); // chunks are padded to an even length
    }
    if (!comm) return refuse("No COMM chunk.");

    const int64_t channels = static_cast<int64_t>(big(comm, 2));
    const uint64_t frames = big(comm + 2, 4);
    const int64_t bits = static_cast<int64_t>(big(comm + 6, 2));
    const double rate = extended(comm + 8);
    if (channels < 1 || channels > 32) return refuse("Unusable channel count.");
    if (bits < 1 || bits > 32) return refuse("Unusable sample width.");
    if (!(rate >= 1 && rate <= 1e6)) return refuse("Unusable sample rate.");
    const uint64_t bytesPerSample = static_cast<uint64_t>(bits + 7) / 8;
    const uint64_t needed = frames * static_cast<uint64_t>(channels) * bytesPerSample;
    if (frames > 0 && (!sound || needed > soundSize))
        return refuse("The sound data is shorter than its header says.");

    out.Channels = channels;
    out.SampleRate = rate;
    out.Bits = bits;
    out.Frames = static_cast<int64_t>(frames);
    out.Samples.resize(frames * static_cast<uint64_t>(channels));
    for (size_t i = 0; i < out.Samples.size(); ++i) {
        // Samples are left-justified in their bytes; the top 16 bits are what we keep.
        const uint8_t* p = sound + i * bytesPerSample;
        uint32_t word = static_cast<uint32_t>(big(p, static_cast<int>(bytesPerSample)))
                        << (32 - 8 * bytesPerSample);
        out.Samples[i] = static_cast<int16_t>(static_cast<uint16_t>(word >> 16));
    }
    return true;
}

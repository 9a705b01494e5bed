// The fuzz targets as plain functions: libFuzzer's entry calls one of them, the replay test all of them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

int fuzzkeys(const uint8_t* data, size_t size);
int fuzzinput(const uint8_t* data, size_t size);
int fuzzprint(const uint8_t* data, size_t size);
int fuzzstore(const uint8_t* data, size_t size);
int fuzzphone(const uint8_t* data, size_t size);

// The input taken a piece at a time; past its end every byte reads 0.
struct FuzzBytes {
    const uint8_t* data;
    size_t size;
    size_t at = 0;

    bool more() const { return at < size; }
    uint8_t byte() { return at < size ? data[at++] : 0; }
    uint32_t word() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = v << 8 | byte();
        return v;
    }
    // Up to most bytes, as many as the next byte says.
    std::string bytes(size_t most) {
        const size_t n = std::min<size_t>(byte() % (most + 1), size - std::min(at, size));
        std::string out(reinterpret_cast<const char*>(data + at), n);
        at += n;
        return out;
    }
};

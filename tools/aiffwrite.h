// Writes 16-bit PCM as an AIFF file: FORM/AIFF with a COMM and an SSND chunk, big-endian throughout.
#pragma once

#include <cstdint>
#include <vector>

// Samples are interleaved by channel; the sample rate goes into the header as an 80-bit extended number.
std::vector<uint8_t> aiffencode(int channels, double sampleRate, const std::vector<int16_t>& samples);

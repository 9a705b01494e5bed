// LZW encoder for compressed font data: a width byte, then fixed-width codes packed from the top bit down.
#pragma once

#include <cstdint>
#include <vector>

// Plain LZW codes over bytes: 0 to 255 the single bytes, new entries from 256 up, no reset, no end code.
std::vector<uint64_t> lzwcodes(const std::vector<uint8_t>& data);

// Packs codes of the given width (1 to 64), the first byte being the width; the last byte is padded with
// zero bits, which a reader drops as long as they are fewer than the width.
std::vector<uint8_t> lzwpack(const std::vector<uint64_t>& codes, unsigned width);

// Encodes and packs with the narrowest width that holds the highest code, at least 8 bits so that the
// padding can never be read as a code, and at least minWidth.
std::vector<uint8_t> lzwencode(const std::vector<uint8_t>& data, unsigned minWidth = 8);

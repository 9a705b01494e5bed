// The LZW encoder of the font files: codes found, then packed at a fixed width from the top bit down.
// Used by the font maker and by the tests of the expander.
#include "tools/lzw.h"

#include <algorithm>
#include <unordered_map>

std::vector<uint64_t> lzwcodes(const std::vector<uint8_t>& data) {
    std::vector<uint64_t> codes;
    if (data.empty()) return codes;
    // Key: the prefix's code shifted up a byte, plus the byte that extends it.
    std::unordered_map<uint64_t, uint64_t> dictionary;
    dictionary.reserve(std::min<size_t>(data.size(), size_t{1} << 16));
    uint64_t nextKey = 256;
    uint64_t w = data[0];
    for (size_t i = 1; i < data.size(); ++i) {
        uint64_t key = (w << 8) | data[i];
        auto found = dictionary.find(key);
        if (found != dictionary.end()) {
            w = found->second;
            continue;
        }
        codes.push_back(w);
        dictionary.emplace(key, nextKey++);
        w = data[i];
    }
    codes.push_back(w);
    return codes;
}

std::vector<uint8_t> lzwpack(const std::vector<uint64_t>& codes, unsigned width) {
    std::vector<uint8_t> out{static_cast<uint8_t>(width)};
    out.reserve(1 + (codes.size() * width + 7) / 8);
    uint8_t current = 0;
    unsigned filled = 0;
    for (uint64_t code : codes) {
        for (unsigned bit = width; bit-- > 0;) {
            current = static_cast<uint8_t>((current << 1) | ((code >> bit) & 1));
            if (++filled == 8) {
                out.push_back(current);
                current = 0;
                filled = 0;
            }
        }
    }
    if (filled > 0) out.push_back(static_cast<uint8_t>(current << (8 - filled)));
    return out;
}

std::vector<uint8_t> lzwencode(const std::vector<uint8_t>& data, unsigned minWidth) {
    std::vector<uint64_t> codes = lzwcodes(data);
    uint64_t highest = codes.empty() ? 0 : *std::max_element(codes.begin(), codes.end());
    unsigned width = 1;
    while (width < 64 && (highest >> width) != 0) ++width;
    width = std::max({width, minWidth, 8u});
    return lzwpack(codes, std::min(width, 64u));
}

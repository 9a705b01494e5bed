// Makes the program's icon: two overlapping hearts on a night-blue tile with a round corner, as a PNG of
// the size asked for. Usage: icongen SIZE FILE
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

uint32_t crc32(const uint8_t* data, size_t length, uint32_t crc = 0) {
    crc = ~crc;
    for (size_t i = 0; i < length; ++i) {
        crc ^= data[i];
        for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1)));
    }
    return ~crc;
}

uint32_t adler32(const std::vector<uint8_t>& data) {
    uint32_t a = 1, b = 0;
    for (uint8_t byte : data) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    return (b << 16) | a;
}

void put32(std::vector<uint8_t>& out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(value >> shift));
}

void chunk(std::vector<uint8_t>& png, const char* type, const std::vector<uint8_t>& data) {
    put32(png, static_cast<uint32_t>(data.size()));
    std::vector<uint8_t> body(type, type + 4);
    body.insert(body.end(), data.begin(), data.end());
    png.insert(png.end(), body.begin(), body.end());
    put32(png, crc32(body.data(), body.size()));
}

// An RGBA picture as PNG, its pixel rows in stored deflate blocks: no compression library needed.
std::vector<uint8_t> encodepng(int size, const std::vector<uint8_t>& rgba) {
    std::vector<uint8_t> raw;
    for (int y = 0; y < size; ++y) {
        raw.push_back(0);
        raw.insert(raw.end(), rgba.begin() + y * size * 4, rgba.begin() + (y + 1) * size * 4);
    }
    std::vector<uint8_t> zlib{0x78, 0x01};
    for (size_t at = 0; at < raw.size() || at == 0;) {
        const size_t n = std::min<size_t>(65535, raw.size() - at);
        const bool last = at + n == raw.size();
        zlib.push_back(last ? 1 : 0);
        zlib.push_back(static_cast<uint8_t>(n));
        zlib.push_back(static_cast<uint8_t>(n >> 8));
        zlib.push_back(static_cast<uint8_t>(~n));
        zlib.push_back(static_cast<uint8_t>(~n >> 8));
        zlib.insert(zlib.end(), raw.begin() + static_cast<long>(at), raw.begin() + static_cast<long>(at + n));
        at += n;
        if (last) break;
    }
    put32(zlib, adler32(raw));
    std::vector<uint8_t> png{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<uint8_t> header;
    put32(header, static_cast<uint32_t>(size));
    put32(header, static_cast<uint32_t>(size));
    header.insert(header.end(), {8, 6, 0, 0, 0}); // 8 bits, RGBA
    chunk(png, "IHDR", header);
    chunk(png, "IDAT", zlib);
    chunk(png, "IEND", {});
    return png;
}

// A heart of height about 2 around (cx, cy) in unit coordinates, y downward.
bool inheart(double x, double y, double cx, double cy, double scale) {
    const double u = (x - cx) / scale, v = -(y - cy) / scale;
    const double a = u * u + v * v - 1;
    return a * a * a - u * u * v * v * v <= 0;
}

struct Colour {
    double r, g, b, a;
};

Colour shade(double x, double y) {
    // The tile: 0.06 in from the edges, corners rounded with radius 0.18.
    const double m = 0.06, r = 0.18;
    const double qx = std::max(std::fabs(x - 0.5) - (0.5 - m - r), 0.0);
    const double qy = std::max(std::fabs(y - 0.5) - (0.5 - m - r), 0.0);
    if (qx * qx + qy * qy > r * r) return {0, 0, 0, 0};
    if (inheart(x, y, 0.60, 0.54, 0.25)) return {0.98, 0.42, 0.62, 1};
    if (inheart(x, y, 0.40, 0.46, 0.25)) return {0.93, 0.16, 0.32, 1};
    return {0.09 + 0.10 * y, 0.12 + 0.06 * y, 0.33 + 0.12 * y, 1};
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: icongen SIZE FILE\n");
        return 2;
    }
    const int size = std::atoi(argv[1]);
    if (size < 8 || size > 1024) {
        std::fprintf(stderr, "icongen: size %d is out of range\n", size);
        return 2;
    }
    // Four by four samples a pixel, for smooth edges.
    constexpr int samples = 4;
    std::vector<uint8_t> rgba(static_cast<size_t>(size * size * 4));
    for (int py = 0; py < size; ++py)
        for (int px = 0; px < size; ++px) {
            Colour sum{0, 0, 0, 0};
            for (int sy = 0; sy < samples; ++sy)
                for (int sx = 0; sx < samples; ++sx) {
                    const Colour c =
                        shade((px + (sx + 0.5) / samples) / size, (py + (sy + 0.5) / samples) / size);
                    sum = {sum.r + c.r * c.a, sum.g + c.g * c.a, sum.b + c.b * c.a, sum.a + c.a};
                }
            uint8_t* p = &rgba[static_cast<size_t>((py * size + px) * 4)];
            const double alpha = sum.a / (samples * samples);
            for (int k = 0; k < 3; ++k) {
                const double channel = (k == 0 ? sum.r : k == 1 ? sum.g : sum.b);
                p[k] = static_cast<uint8_t>(sum.a > 0 ? std::lround(255 * channel / sum.a) : 0);
            }
            p[3] = static_cast<uint8_t>(std::lround(255 * alpha));
        }
    const std::vector<uint8_t> png = encodepng(size, rgba);
    FILE* file = std::fopen(argv[2], "wb");
    if (!file || std::fwrite(png.data(), 1, png.size(), file) != png.size() || std::fclose(file) != 0) {
        std::fprintf(stderr, "icongen: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}

// Frames: a window's graphic block turned into 32-bit pixels 0xAARRGGBB, whatever its depth.
#include "display/display.h"
#include "shell/shell.h"

#include <cstring>
#include <string>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define SEELENORAKEL_SSSE3 1
#endif

namespace {

constexpr uint32_t opaque = 0xFF000000u;

uint32_t pixelof(const t_RGBColor& c) {
    return opaque | uint32_t(c.Red) << 16 | uint32_t(c.Green) << 8 | uint32_t(c.Blue);
}

uint32_t load32(const uint8_t* p) {
    uint32_t w;
    std::memcpy(&w, p, 4);
    return w;
}

// Bytes the frame reads from the start of the block, or -1 for a depth that has no layout.
Int blockbytes(Int depth, Int pixels) {
    switch (depth) {
    case 1:
        return (pixels + 7) / 8;
    case 4:
        return (pixels + 1) / 2;
    case 8:
    case 16:
    case 24:
    case 32:
        return pixels * (depth / 8);
    default:
        return -1;
    }
}

// Each depth has a loop of its own, picked once per frame. When a row holds whole bytes the block is
// one stream of pixels and the rows need not be told apart.

void compose1(const uint8_t* src, uint32_t* out, Int width, Int height) {
    const uint32_t set = pixelof(t_PaletteColor(15)), clear = pixelof(t_PaletteColor(0));
    const uint32_t pick[2] = {clear, set};
    if (width % 8 == 0) {
        const Int bytes = width * height / 8;
        for (Int i = 0; i < bytes; ++i, out += 8) {
            const unsigned b = src[i];
            for (int bit = 0; bit < 8; ++bit) out[bit] = pick[(b >> (7 - bit)) & 1];
        }
        return;
    }
    for (Int y = 0, p = 0; y < height; ++y)
        for (Int x = 0; x < width; ++x, ++p) *out++ = pick[(src[p / 8] >> (7 - x % 8)) & 1];
}

void compose4(const uint8_t* src, uint32_t* out, Int width, Int height) {
    uint32_t ready[16];
    for (int i = 0; i < 16; ++i) ready[i] = pixelof(t_PaletteColor(i));
    if (width % 2 == 0) {
        const Int bytes = width * height / 2;
        for (Int i = 0; i < bytes; ++i, out += 2) {
            out[0] = ready[src[i] >> 4];
            out[1] = ready[src[i] & 15];
        }
        return;
    }
    // Odd widths: the nibble follows x, not the place in the stream.
    for (Int y = 0, p = 0; y < height; ++y)
        for (Int x = 0; x < width; ++x, ++p) *out++ = ready[(src[p / 2] >> ((x & 1) ? 0 : 4)) & 15];
}

void compose8(const uint8_t* src, uint32_t* out, Int pixels) {
    for (Int p = 0; p < pixels; ++p) out[p] = opaque | uint32_t(src[p]) * 0x010101u;
}

void compose16(const uint8_t* src, uint32_t* out, Int pixels) {
    for (Int p = 0; p < pixels; ++p) out[p] = opaque | uint32_t(src[2 * p + 1]) * 0x010101u;
}

void compose24plain(const uint8_t* src, uint32_t* out, Int pixels) {
    Int p = 0;
    // Four bytes read for three used: the last pixel is left to the byte-wise tail, so the read never
    // leaves the block.
    for (; p + 1 < pixels; ++p) out[p] = opaque | __builtin_bswap32(load32(src + 3 * p)) >> 8;
    for (; p < pixels; ++p)
        out[p] = opaque | uint32_t(src[3 * p]) << 16 | uint32_t(src[3 * p + 1]) << 8 | src[3 * p + 2];
}

void compose32(const uint8_t* src, uint32_t* out, Int pixels) {
    // The first byte of each pixel is dropped: alpha is always opaque.
    for (Int p = 0; p < pixels; ++p) out[p] = opaque | __builtin_bswap32(load32(src + 4 * p));
}

#ifdef SEELENORAKEL_SSSE3
// Four pixels per shuffle: 12 bytes R,G,B in, four words B,G,R,A out.
__attribute__((target("ssse3"))) void compose24ssse3(const uint8_t* src, uint32_t* out, Int pixels) {
    const __m128i order = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    const __m128i alpha = _mm_set1_epi32(static_cast<int>(opaque));
    Int p = 0;
    // Each load takes 16 bytes for 12 used; stop while a whole load still lies inside the block.
    for (; p + 6 <= pixels; p += 4) {
        __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 3 * p));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + p),
                         _mm_or_si128(_mm_shuffle_epi8(in, order), alpha));
    }
    compose24plain(src + 3 * p, out + p, pixels - p);
}

bool hasssse3() {
    static const bool has = __builtin_cpu_supports("ssse3");
    return has;
}
#endif

void compose24(const uint8_t* src, uint32_t* out, Int pixels) {
#ifdef SEELENORAKEL_SSSE3
    if (hasssse3()) {
        compose24ssse3(src, out, pixels);
        return;
    }
#endif
    compose24plain(src, out, pixels);
}

int64_t wholemicroseconds(double seconds) {
    return static_cast<int64_t>(seconds * 1000000.0);
}

// The one read of a graphic block while the program thread may be plotting into it: a frame is made from
// the memory as it stands, as a video chip reads its memory, and the next frame mends a half-plotted
// glyph (tools/tsan.supp names this routine).
__attribute__((noinline)) void framepixels(const uint8_t* src, uint32_t* out, Int depth, Int width,
                                           Int height) {
    const Int pixels = width * height;
    switch (depth) {
    case 1:
        compose1(src, out, width, height);
        break;
    case 4:
        compose4(src, out, width, height);
        break;
    case 8:
        compose8(src, out, pixels);
        break;
    case 16:
        compose16(src, out, pixels);
        break;
    case 24:
        compose24(src, out, pixels);
        break;
    default:
        compose32(src, out, pixels);
        break;
    }
}

} // namespace

bool t_WindowImage(uint8_t window, t_Image& frame) {
    if (!t_MemoryInitialized.load(std::memory_order_acquire)) return false;
    if (window > 7) {
        debuglog("t_WindowImage: Graphic window #" + std::to_string(window) + " not initialized.");
        return false;
    }
    t_Window& record = t_WindowTable[window];
    if (!record.Initialized.load(std::memory_order_acquire)) {
        debuglog("t_WindowImage: Graphic window #" + std::to_string(window) + " not initialized.");
        return false;
    }
    if (!record.Visible.load(std::memory_order_acquire)) return false;

    const double t0 = absolutetime();
    const t_WindowShape shape = t_WindowShapeOf(window);
    const Int depth = shape.BitDepth, width = shape.Width, height = shape.Height;
    const Int start = shape.MemoryStart, end = shape.MemoryEnd;
    const Int bytes = width > 0 && height > 0 && width <= 0x10000 && height <= 0x10000
                          ? blockbytes(depth, width * height)
                          : 0;
    if (bytes < 0) {
        // A depth without a layout would say this for every pixel; once per frame is enough.
        debuglog("t_WindowImage: Illegal bit depth.");
        return false;
    }
    // A record whose block does not lie inside the memory cannot be read.
    const Int memory = static_cast<Int>(t_VideoMemory.size());
    if (bytes == 0 || start < 0 || end >= memory || start + bytes - 1 > end) {
        debuglog("t_WindowImage: Data could not be collected, image could not be created.");
        return false;
    }

    const Int pixels = width * height;
    frame.Width = width;
    frame.Height = height;
    frame.Pixels.resize(static_cast<size_t>(pixels));
    framepixels(t_VideoMemory.data() + start, frame.Pixels.data(), depth, width, height);

    record.UpdateDuration.store(wholemicroseconds(absolutetime()) - wholemicroseconds(t0));
    record.UpdateFinished.store(absolutetimems());
    return true;
}

t_Image t_WindowCopyImage(uint8_t window) {
    t_Image image;
    if (window > 7 || !t_WindowView(window)) return image;
    if (!t_WindowImage(window, image)) return t_Image{};
    return image;
}

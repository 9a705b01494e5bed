#include "shell/shell.h"
#include "tools/aiffwrite.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <filesystem>
#include <unistd.h>

namespace {

using testsupport::LogCapture;

std::vector<int16_t> someSamples(size_t n) {
    std::vector<int16_t> s(n);
    for (size_t i = 0; i < n; ++i) s[i] = static_cast<int16_t>((i * 7919) % 65536 - 32768);
    return s;
}

TEST(Aiff, RoundTripThroughOurWriter) {
    for (double rate : {44100.0, 8000.0, 22050.5, 96000.0})
        for (int channels : {1, 2}) {
            std::vector<int16_t> samples = someSamples(static_cast<size_t>(channels) * 301);
            AiffSound sound;
            ASSERT_TRUE(aiffdecode(aiffencode(channels, rate, samples), sound)) << rate;
            EXPECT_EQ(sound.Channels, channels);
            EXPECT_DOUBLE_EQ(sound.SampleRate, rate);
            EXPECT_EQ(sound.Bits, 16);
            EXPECT_EQ(sound.Frames, 301);
            EXPECT_EQ(sound.Samples, samples);
        }
}

// A file put together by hand: an odd-sized chunk of another kind first, SSND before COMM, an SSND offset,
// and 24-bit samples, whose top 16 bits are kept.
TEST(Aiff, ChunksInAnyOrderWithPaddingAndOtherWidths) {
    std::vector<uint8_t> file = {'F', 'O', 'R', 'M', 0, 0, 0, 0, 'A', 'I', 'F', 'F',
                                 // NAME, 3 bytes and a pad byte
                                 'N', 'A', 'M', 'E', 0, 0, 0, 3, 'B', 'e', 'p', 0,
                                 // SSND: offset 2, block size 0, two junk bytes, two 24-bit samples
                                 'S', 'S', 'N', 'D', 0, 0, 0, 16, 0, 0, 0, 2, 0, 0, 0, 0, 0xEE, 0xEE, 0x12,
                                 0x34, 0x56, 0x80, 0x00, 0x01,
                                 // COMM: 1 channel, 2 frames, 24 bits, 11025 Hz
                                 'C', 'O', 'M', 'M', 0, 0, 0, 18, 0, 1, 0, 0, 0, 2, 0, 24, 0x40, 0x0C, 0xAC,
                                 0x44, 0, 0, 0, 0, 0, 0};
    file[7] = static_cast<uint8_t>(file.size() - 8);
    AiffSound sound;
    LogCapture log;
    ASSERT_TRUE(aiffdecode(file, sound));
    EXPECT_TRUE(log.lines.empty());
    EXPECT_EQ(sound.Bits, 24);
    EXPECT_DOUBLE_EQ(sound.SampleRate, 11025);
    EXPECT_EQ(sound.Samples, (std::vector<int16_t>{0x1234, static_cast<int16_t>(0x8000)}));
}

TEST(Aiff, EveryTruncationIsRefusedWithOneLine) {
    std::vector<uint8_t> file = aiffencode(2, 44100, someSamples(20));
    for (size_t n = 0; n < file.size(); ++n) {
        LogCapture log;
        AiffSound sound;
        std::vector<uint8_t> cut(file.begin(), file.begin() + static_cast<long>(n));
        EXPECT_FALSE(aiffdecode(cut, sound)) << n;
        EXPECT_EQ(log.lines.size(), 1u) << n;
        EXPECT_TRUE(sound.Samples.empty());
    }
}

TEST(Aiff, GarbledHeadersAreRefused) {
    const std::vector<uint8_t> good = aiffencode(1, 44100, someSamples(10));
    // Offsets in our writer's layout: FORM 0, AIFF 8, COMM 12 (body 20), SSND 38 (body 46).
    auto with = [&](size_t at, std::vector<uint8_t> bytes) {
        std::vector<uint8_t> f = good;
        std::copy(bytes.begin(), bytes.end(), f.begin() + static_cast<long>(at));
        return f;
    };
    const std::vector<std::pair<std::vector<uint8_t>, std::string>> cases = {
        {with(8, {'A', 'I', 'F', 'C'}), "aiffdecode: Not an AIFF file."},
        {with(0, {'R', 'I', 'F', 'F'}), "aiffdecode: Not an AIFF file."},
        {with(20, {0, 0}), "aiffdecode: Unusable channel count."},
        {with(26, {0, 0}), "aiffdecode: Unusable sample width."},
        {with(26, {0, 40}), "aiffdecode: Unusable sample width."},
        {with(28, {0, 0}), "aiffdecode: Unusable sample rate."},       // exponent 0: a tiny rate
        {with(28, {0x7F, 0xFF}), "aiffdecode: Unusable sample rate."}, // infinity or not a number
        {with(22, {0, 0, 0, 11}), "aiffdecode: The sound data is shorter than its header says."},
        {with(16, {0, 0, 0, 10}), "aiffdecode: The COMM chunk is too short."},
        {with(16, {0x7F, 0xFF, 0xFF, 0xFF}), "aiffdecode: A chunk runs past the end of the file."},
        {with(46, {0, 0, 0, 30}), "aiffdecode: The SSND offset runs past its chunk."},
        {with(12, {'J', 'U', 'N', 'K'}), "aiffdecode: No COMM chunk."},
    };
    for (const auto& [bytes, line] : cases) {
        LogCapture log;
        AiffSound sound;
        EXPECT_FALSE(aiffdecode(bytes, sound)) << line;
        ASSERT_EQ(log.lines.size(), 1u) << line;
        EXPECT_EQ(log.lines[0], line);
    }
}

TEST(Aiff, TheBuiltBeepIsAShortSoftTone) {
    char buffer[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    ASSERT_GT(n, 0);
    std::filesystem::path exe(std::string(buffer, static_cast<size_t>(n)));
    const auto path = exe.parent_path().parent_path() / "Seelenorakel.app/Contents/Resources/sysbeep.aif";
    std::vector<uint8_t> bytes = getbinaryfromfile(path.string());
    ASSERT_FALSE(bytes.empty()) << "build the seelenorakel_resources target first";
    AiffSound sound;
    ASSERT_TRUE(aiffdecode(bytes, sound));
    EXPECT_EQ(sound.Channels, 1);
    EXPECT_EQ(sound.SampleRate, 44100);
    EXPECT_EQ(sound.Bits, 16);
    EXPECT_GT(sound.Frames, 44100 / 20);
    EXPECT_LT(sound.Frames, 44100 / 2);
    int peak = 0, crossings = 0;
    for (size_t i = 0; i < sound.Samples.size(); ++i) {
        peak = std::max(peak, std::abs(int{sound.Samples[i]}));
        if (i > 0 && (sound.Samples[i - 1] < 0) != (sound.Samples[i] < 0)) ++crossings;
    }
    EXPECT_GT(peak, 8000);
    // 880 Hz crosses zero twice a period.
    const double seconds = static_cast<double>(sound.Frames) / sound.SampleRate;
    EXPECT_NEAR(crossings / seconds, 1760, 40);
    // Soft at both ends: no click.
    EXPECT_LT(std::abs(int{sound.Samples.front()}), 500);
    EXPECT_LT(std::abs(int{sound.Samples.back()}), 500);
}

} // namespace

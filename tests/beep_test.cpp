// The beep: the bundle's sound, decoded from its AIFF file, played once at a time, else the system's beep.
#include "window_recorder.h"

#include "tools/aiffwrite.h"

#include <filesystem>

namespace {

using namespace std::chrono_literals;
using testsupport::LogCapture;

// A tone of the given length at 8000 frames a second.
std::vector<int16_t> tone(std::chrono::milliseconds length) {
    std::vector<int16_t> samples(static_cast<size_t>(length.count() * 8));
    for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<int16_t>(i % 40 < 20 ? 8000 : -8000);
    return samples;
}

TEST(Aiff, BrokenFilesAreRefusedWithOneLine) {
    const std::vector<uint8_t> good = aiffencode(1, 44100, tone(1ms));
    // Offsets in our writer's layout: FORM 0, AIFF 8, COMM 12 (body 20), SSND 38 (body 46).
    const struct {
        size_t at;
        std::vector<uint8_t> bytes;
        std::string line;
    } rows[] = {
        {8, {'A', 'I', 'F', 'C'}, "aiffdecode: Not an AIFF file."},
        {0, {'R', 'I', 'F', 'F'}, "aiffdecode: Not an AIFF file."},
        {20, {0, 0}, "aiffdecode: Unusable channel count."},
        {26, {0, 0}, "aiffdecode: Unusable sample width."},
        {26, {0, 40}, "aiffdecode: Unusable sample width."},
        {28, {0, 0}, "aiffdecode: Unusable sample rate."},       // exponent 0: a tiny rate
        {28, {0x7F, 0xFF}, "aiffdecode: Unusable sample rate."}, // infinity or not a number
        {22, {0, 0, 0, 11}, "aiffdecode: The sound data is shorter than its header says."},
        {16, {0, 0, 0, 10}, "aiffdecode: The COMM chunk is too short."},
        {16, {0x7F, 0xFF, 0xFF, 0xFF}, "aiffdecode: A chunk runs past the end of the file."},
        {46, {0, 0, 0, 30}, "aiffdecode: The SSND offset runs past its chunk."},
        {12, {'J', 'U', 'N', 'K'}, "aiffdecode: No COMM chunk."},
    };
    for (const auto& row : rows) {
        std::vector<uint8_t> bytes = good;
        std::copy(row.bytes.begin(), row.bytes.end(), bytes.begin() + static_cast<long>(row.at));
        LogCapture log;
        AiffSound sound;
        EXPECT_FALSE(aiffdecode(bytes, sound)) << row.at;
        EXPECT_EQ(log.lines, std::vector{row.line}) << row.at;
    }
    for (size_t n = 0; n < good.size(); ++n) {
        LogCapture log;
        AiffSound sound;
        EXPECT_FALSE(aiffdecode({good.begin(), good.begin() + static_cast<long>(n)}, sound)) << n;
        EXPECT_EQ(log.lines.size(), 1u) << n;
    }
}

// A bundle of its own in a temporary folder, with or without a sound in its resources.
class Beep : public ::testing::Test {
  protected:
    void SetUp() override {
        recorder = windowtest::installrecorder();
        std::filesystem::create_directories(std::filesystem::path(folder) /
                                            "Seelenorakel.app/Contents/Resources");
        setbundlepath(folder + "/Seelenorakel.app");
        t_BeepForget();
    }
    void TearDown() override {
        windowtest::drainmain();
        t_BeepForget();
        setbundlepath("");
        std::filesystem::remove_all(folder);
    }
    void writesound(const std::vector<uint8_t>& bytes) {
        setstringtofile(folder + "/Seelenorakel.app/Contents/Resources/sysbeep.aif",
                        std::string(bytes.begin(), bytes.end()));
    }
    std::shared_ptr<windowtest::Recorder> recorder;
    std::string folder =
        (std::filesystem::temp_directory_path() / ("beep-" + std::to_string(getpid()))).string();
};

TEST_F(Beep, ManyBeepsWhileTheSoundPlaysSoundOnceAndTheNextAfterItSoundsAgain) {
    const std::vector<int16_t> samples = tone(300ms);
    writesound(aiffencode(1, 8000, samples));
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            for (int k = 0; k < 50; ++k) t_Beep();
        });
    for (std::thread& t : threads) t.join();
    windowtest::drainmain();
    ASSERT_EQ(recorder->plays(), 1u);
    EXPECT_EQ(recorder->played[0]->Samples, samples); // the file's sound, decoded
    std::this_thread::sleep_for(350ms);
    t_Beep();
    windowtest::drainmain();
    EXPECT_EQ(recorder->plays(), 2u);
    EXPECT_EQ(recorder->beeps(), 0);
}

TEST_F(Beep, WithoutAPlayableSoundEveryBeepIsTheSystemsAndTheFileIsLookedForOnce) {
    const struct {
        const char* name;
        std::vector<uint8_t> file;
        std::string line;
    } rows[] = {
        {"no file", {}, "getbinaryfromfile: Error #No such file or directory"},
        {"no sound", {'F', 'O', 'R', 'M', 0, 0, 0, 4, 'W', 'A', 'V', 'E'}, "aiffdecode: Not an AIFF file."},
        {"empty sound", aiffencode(1, 8000, {}), "t_Beep: The sound \"sysbeep.aif\" holds nothing to play."},
    };
    int beeps = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        t_BeepForget();
        if (!row.file.empty()) writesound(row.file);
        windowtest::Log log;
        t_Beep();
        // A sound that appears later is not looked for again: the first answer stands.
        writesound(aiffencode(1, 8000, tone(100ms)));
        t_Beep();
        windowtest::drainmain();
        EXPECT_EQ(recorder->beeps(), beeps += 2);
        EXPECT_EQ(recorder->plays(), 0u);
        ASSERT_EQ(log.lines().size(), 1u);
        EXPECT_EQ(log.lines()[0].rfind(row.line, 0), 0u) << log.lines()[0];
        std::filesystem::remove(folder + "/Seelenorakel.app/Contents/Resources/sysbeep.aif");
    }
}

} // namespace

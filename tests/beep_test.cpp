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

// A cut-off file, short of its chunks, its COMM or its sound data, is refused with one line and read no
// further than it goes.
TEST(Aiff, CutOffFilesAreRefusedWithOneLine) {
    const std::vector<uint8_t> good = aiffencode(1, 44100, tone(1ms));
    AiffSound sound;
    for (size_t n = 0; n < good.size(); ++n) {
        LogCapture log;
        EXPECT_FALSE(aiffdecode({good.begin(), good.begin() + static_cast<long>(n)}, sound)) << n;
        EXPECT_EQ(log.lines().size(), 1u) << n;
    }
    EXPECT_TRUE(aiffdecode(good, sound));
}

// A bundle of its own in a temporary folder, with or without a sound in its resources.
class Beep : public windowtest::WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        setbundlepath(folder + "/Seelenorakel.app");
        t_BeepForget();
    }
    void TearDown() override {
        WindowTest::TearDown();
        t_BeepForget();
        std::filesystem::remove_all(folder);
    }
    void writesound(const std::vector<uint8_t>& bytes) {
        setstringtofile(file, std::string(bytes.begin(), bytes.end()));
    }
    std::string folder =
                    (std::filesystem::temp_directory_path() / ("beep-" + std::to_string(getpid()))).string(),
                file = folder + "/Seelenorakel.app/Contents/Resources/sysbeep.aif";
};

TEST_F(Beep, ManyBeepsWhileTheSoundPlaysSoundOnceAndTheNextAfterItSoundsAgain) {
    const std::vector<int16_t> samples = tone(300ms);
    writesound(aiffencode(1, 8000, samples));
    std::vector<std::thread> threads(8);
    for (std::thread& t : threads)
        t = std::thread([] {
            for (int k = 0; k < 50; ++k) t_Beep();
        });
    for (std::thread& t : threads) t.join();
    windowtest::drainmain();
    ASSERT_EQ(recorder->played.size(), 1u);
    EXPECT_EQ(recorder->played[0]->Samples, samples); // the file's sound, decoded
    std::this_thread::sleep_for(350ms);
    t_Beep();
    windowtest::drainmain();
    EXPECT_EQ(recorder->played.size(), 2u);
    EXPECT_EQ(recorder->beeps, 0);
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
        EXPECT_EQ(recorder->beeps, beeps += 2);
        EXPECT_EQ(recorder->played.size(), 0u);
        ASSERT_EQ(log.lines().size(), 1u);
        EXPECT_EQ(log.lines()[0].rfind(row.line, 0), 0u) << log.lines()[0];
        std::filesystem::remove(file);
    }
}

} // namespace

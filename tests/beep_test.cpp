#include "window_recorder.h"

#include "shell/shell.h"
#include "tools/aiffwrite.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

// A bundle of its own in a temporary folder, with or without a sound in its resources.
class Beep : public ::testing::Test {
  protected:
    void SetUp() override {
        recorder = windowtest::installrecorder();
        char pattern[] = "/tmp/beep-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        folder = pattern;
        bundle = folder / "Seelenorakel.app";
        std::filesystem::create_directories(bundle / "Contents" / "Resources");
        setbundlepath(bundle.string());
        t_BeepForget();
    }
    void TearDown() override {
        windowtest::drainmain();
        t_BeepForget();
        setbundlepath("");
        std::filesystem::remove_all(folder);
    }
    void writesound(const std::vector<uint8_t>& bytes) {
        FILE* f = std::fopen((bundle / "Contents" / "Resources" / "sysbeep.aif").c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::fclose(f);
    }
    // A tone of the given length at 8000 frames a second.
    static std::vector<int16_t> tone(std::chrono::milliseconds length) {
        std::vector<int16_t> samples(static_cast<size_t>(length.count() * 8));
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<int16_t>(i % 40 < 20 ? 8000 : -8000);
        return samples;
    }
    std::shared_ptr<windowtest::Recorder> recorder;
    std::filesystem::path folder, bundle;
};

TEST_F(Beep, TwoBeepsInQuickSuccessionSoundOnce) {
    const std::vector<int16_t> samples = tone(2000ms);
    writesound(aiffencode(1, 8000, samples));
    t_Beep();
    t_Beep();
    windowtest::drainmain();
    ASSERT_EQ(recorder->plays(), 1u);
    EXPECT_EQ(recorder->beeps(), 0);
    // What reaches the platform is the file's sound, decoded.
    const AiffSound& played = *recorder->played[0];
    EXPECT_EQ(played.Channels, 1);
    EXPECT_DOUBLE_EQ(played.SampleRate, 8000);
    EXPECT_EQ(played.Samples, samples);
}

TEST_F(Beep, ManyThreadsAtOnceStartOneSound) {
    writesound(aiffencode(2, 8000, tone(2000ms)));
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            for (int k = 0; k < 50; ++k) t_Beep();
        });
    for (std::thread& t : threads) t.join();
    windowtest::drainmain();
    EXPECT_EQ(recorder->plays(), 1u);
}

TEST_F(Beep, AfterTheSoundHasEndedTheNextBeepSounds) {
    writesound(aiffencode(1, 8000, tone(100ms)));
    t_Beep();
    std::this_thread::sleep_for(150ms);
    t_Beep();
    windowtest::drainmain();
    EXPECT_EQ(recorder->plays(), 2u);
}

TEST_F(Beep, WithoutASoundEveryBeepIsTheSystemsAndTheFileIsLookedForOnce) {
    windowtest::Log log;
    t_Beep();
    t_Beep();
    windowtest::drainmain();
    EXPECT_EQ(recorder->beeps(), 2);
    EXPECT_EQ(recorder->plays(), 0u);
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].rfind("getbinaryfromfile: Error #", 0), 0u) << lines[0];
    // A sound that appears later is not looked for again: the first answer stands.
    writesound(aiffencode(1, 8000, tone(100ms)));
    t_Beep();
    windowtest::drainmain();
    EXPECT_EQ(recorder->beeps(), 3);
}

TEST_F(Beep, AFileThatIsNoSoundFallsBackToTheSystemBeep) {
    writesound({'F', 'O', 'R', 'M', 0, 0, 0, 4, 'W', 'A', 'V', 'E'});
    windowtest::Log log;
    t_Beep();
    windowtest::drainmain();
    EXPECT_EQ(recorder->beeps(), 1);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].rfind("aiffdecode: ", 0), 0u);

    t_BeepForget();
    writesound(aiffencode(1, 8000, {}));
    t_Beep();
    windowtest::drainmain();
    EXPECT_EQ(recorder->beeps(), 2);
    EXPECT_EQ(recorder->plays(), 0u);
}

} // namespace

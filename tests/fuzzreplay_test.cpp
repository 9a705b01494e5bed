// Every seed of the fuzz targets' folders through the same entry functions, built with the rest: a seed
// that breaks an invariant stops the run here as it would stop the fuzzer.
#include "fuzz/entry.h"
#include "window_recorder.h"

#include <filesystem>

namespace {

using FuzzReplay = windowtest::WindowTest;

TEST_F(FuzzReplay, EverySeedRunsThroughItsTarget) {
    const auto fuzz = std::filesystem::path(SEELENORAKEL_SOURCE_DIR) / "fuzz";
    const struct {
        const char* folder;
        int (*target)(const uint8_t*, size_t);
    } targets[] = {{"keys-corpus", fuzzkeys},
                   {"input-corpus", fuzzinput},
                   {"print-corpus", fuzzprint},
                   {"corpus", fuzzstore},
                   {"phone-corpus", fuzzphone}};
    const int64_t level = t_DebugLevel.exchange(0);
    for (const auto& t : targets) {
        size_t seeds = 0;
        for (const auto& entry : std::filesystem::directory_iterator(fuzz / t.folder)) {
            const std::vector<uint8_t> input = getbinaryfromfile(entry.path());
            EXPECT_EQ(t.target(input.data(), input.size()), 0) << t.folder << "/" << entry.path().filename();
            ++seeds;
        }
        EXPECT_GE(seeds, 3u) << t.folder;
    }
    t_DebugLevel = level;
}

} // namespace

// libFuzzer's entry for one target, chosen by FUZZ_ENTRY when it is compiled; the log is formatted as
// usual, then dropped.
#include "fuzz/entry.h"
#include "shell/shell.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    debuglogsink([](std::string_view) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return FUZZ_ENTRY(data, size);
}

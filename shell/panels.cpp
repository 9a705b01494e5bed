// Modal open and save panels, from the main thread or from any other.
#include "shell/menus.h"
#include "shell/platform.h"
#include "shell/shell.h"

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <memory>
#include <sys/stat.h>

namespace {

std::vector<std::string> filetypes(const std::string& types) {
    std::vector<std::string> list;
    if (types.empty()) return list;
    size_t from = 0;
    for (;;) {
        const size_t comma = types.find(',', from);
        list.push_back(types.substr(from, comma == std::string::npos ? std::string::npos : comma - from));
        if (comma == std::string::npos) return list;
        from = comma + 1;
    }
}

// Paths in precomposed form. This file system does not compose names itself, so a name stored decomposed
// is given as it stands when only that form exists.
std::string plainpath(const std::string& path) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) return path;
    std::string composed;
    nfc->normalize(icu::UnicodeString::fromUTF8(path), status).toUTF8String(composed);
    if (U_FAILURE(status) || composed == path) return path;
    struct stat info;
    if (stat(composed.c_str(), &info) != 0 && stat(path.c_str(), &info) == 0) return path;
    return composed;
}

void sleepms(long ms) {
    timespec t{0, ms * 1000000};
    while (nanosleep(&t, &t) != 0 && errno == EINTR) {}
}

// Off the main thread: hand the panel to the main thread without waiting there, and poll until it is
// done, so that the main thread's event loop runs the modal panel as usual.
template <typename Result, typename Run> Result onmainpolled(Run run) {
    if (ismainthread()) return run();
    auto done = std::make_shared<std::atomic<bool>>(false);
    auto result = std::make_shared<Result>();
    sleepms(20);
    t_RunOnMainThreadAsync([done, result, run] {
        *result = run();
        done->store(true, std::memory_order_release);
    });
    while (!done->load(std::memory_order_acquire)) sleepms(1);
    return *result;
}

} // namespace

std::vector<std::string> t_OpenPanelRun(const std::string& title, const std::string& message,
                                        const std::string& fileTypes, bool multiple, bool chooseFiles,
                                        bool chooseFolders) {
    t_PanelRequest request;
    request.Title = title;
    request.Message = message;
    request.Prompt = chooseFolders ? "Wählen" : "Öffnen";
    request.FileTypes = filetypes(fileTypes);
    request.Multiple = multiple;
    request.ChooseFiles = chooseFiles;
    request.ChooseFolders = chooseFolders;
    std::vector<std::string> paths = platformport().RunPanel(request);
    for (std::string& path : paths) path = plainpath(path);
    return paths;
}

std::string t_SavePanelRun(const std::string& fileName, const std::string& title, const std::string& message,
                           const std::string& fileTypes) {
    t_PanelRequest request;
    request.Save = true;
    request.Title = title;
    request.Message = message;
    request.Prompt = "Sichern";
    request.NameLabel = "Sichern unter:";
    request.FileName = fileName;
    request.FileTypes = filetypes(fileTypes);
    const std::vector<std::string> paths = platformport().RunPanel(request);
    return paths.empty() ? std::string() : plainpath(paths.front());
}

std::string t_OpenPanel(const std::string& title, const std::string& message, const std::string& fileTypes,
                        bool chooseFiles, bool chooseFolders) {
    const auto paths = onmainpolled<std::vector<std::string>>(
        [=] { return t_OpenPanelRun(title, message, fileTypes, false, chooseFiles, chooseFolders); });
    return paths.empty() ? std::string() : paths.front();
}

std::string t_SavePanel(const std::string& fileName, const std::string& title, const std::string& message,
                        const std::string& fileTypes) {
    return onmainpolled<std::string>([=] { return t_SavePanelRun(fileName, title, message, fileTypes); });
}

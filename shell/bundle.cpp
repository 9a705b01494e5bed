// Where the program's bundle folder lies: worked out from the running executable, unless a test or the
// harness has named another.
#include "shell/shell.h"

#include <climits>
#include <mutex>
#include <unistd.h>

namespace {
std::mutex bundleMutex;
std::string bundleOverride;
} // namespace

void setbundlepath(const std::string& path) {
    std::lock_guard<std::mutex> lock(bundleMutex);
    bundleOverride = path;
}

std::string bundlepath() {
    {
        std::lock_guard<std::mutex> lock(bundleMutex);
        if (!bundleOverride.empty()) return bundleOverride;
    }
    char buffer[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0) return ".";
    std::string exe(buffer, static_cast<size_t>(n));
    std::string folder = exe.substr(0, exe.rfind('/'));
    // Inside Name.app/Contents/MacOS the bundle is three levels up; elsewhere the executable's folder.
    const std::string inner = "/Contents/MacOS";
    if (folder.size() > inner.size() &&
        folder.compare(folder.size() - inner.size(), inner.size(), inner) == 0)
        return folder.substr(0, folder.size() - inner.size());
    return folder;
}

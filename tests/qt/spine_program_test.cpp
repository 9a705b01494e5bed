// The built program as a person starts it: its log on standard output, its rest at the first key wait,
// and its end on a quit signal.
#include "harness.h"

#include <QProcess>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

// User and system time of the process so far, in clock ticks.
long cputicks(qint64 pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>()), field;
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    long ticks = 0;
    for (int i = 3; i <= 15 && fields >> field; ++i)
        if (i >= 14) ticks += std::stol(field);
    return ticks;
}

TEST(SpineProgram, RestsAtTheFirstKeyAndQuitsOnSignal) {
    // A copy of the built program in a scratch folder, so that its data file is a scratch one too.
    harness::Bundle bundle;
    const std::string executable = bundle.app + "/Contents/MacOS/seelenorakel";
    std::filesystem::create_directories(bundle.app + "/Contents/MacOS");
    std::filesystem::copy_file(SEELENORAKEL_EXECUTABLE, executable);
    QProcess program;
    program.start(QString::fromStdString(executable), QStringList());
    std::string output;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (output.find("d_AppendDatabase: Datafile") == std::string::npos &&
           std::chrono::steady_clock::now() < end) {
        program.waitForReadyRead(100);
        output += program.readAllStandardOutput().toStdString();
    }
    ASSERT_NE(output.find("applicationDidFinishLaunching: End."), std::string::npos) << output;
    EXPECT_NE(output.find("SeelenorakelLoad: Data file " + bundle.datafile() + "."), std::string::npos)
        << output;
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(program.processId()) + "/comm"), name);
    EXPECT_EQ(name, "AppDelegate");

    // Waiting for a key does not keep a core busy: well under half of one second's CPU in one second.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const long before = cputicks(program.processId());
    std::this_thread::sleep_for(std::chrono::seconds(1));
    EXPECT_LT(cputicks(program.processId()) - before, sysconf(_SC_CLK_TCK) / 2);

    ::kill(static_cast<pid_t>(program.processId()), SIGTERM);
    ASSERT_TRUE(program.waitForFinished(10000));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
    output += program.readAllStandardOutput().toStdString();
    EXPECT_EQ(output.substr(output.rfind('\n', output.size() - 2) + 1),
              "applicationWillTerminate: Called.\n");
}

} // namespace

// The built program as a person starts it: its log on standard output, its rest at the first key wait,
// and its end on a quit signal.
#include <QProcess>
#include <QProcessEnvironment>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

struct Program {
    QProcess process;
    std::string output;

    Program() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::SeparateChannels);
        process.start(SEELENORAKEL_EXECUTABLE, QStringList());
    }
    ~Program() {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(5000);
        }
    }
    std::vector<std::string> lines() const {
        std::vector<std::string> result;
        std::istringstream in(output);
        for (std::string line; std::getline(in, line);) result.push_back(line);
        return result;
    }
    // Reads until the output holds the text or the limit passes.
    bool readuntil(const std::string& text, std::chrono::milliseconds limit = 20s) {
        auto end = std::chrono::steady_clock::now() + limit;
        while (output.find(text) == std::string::npos) {
            if (std::chrono::steady_clock::now() > end || process.state() == QProcess::NotRunning)
                return false;
            process.waitForReadyRead(50);
            output += process.readAllStandardOutput().toStdString();
        }
        return true;
    }
    // Reads until nothing more has come for a while.
    void readuntilquiet(std::chrono::milliseconds quiet) {
        auto last = std::chrono::steady_clock::now();
        while (std::chrono::steady_clock::now() - last < quiet) {
            process.waitForReadyRead(20);
            QByteArray more = process.readAllStandardOutput();
            if (!more.isEmpty()) {
                output += more.toStdString();
                last = std::chrono::steady_clock::now();
            }
        }
    }
    // User and system time of the whole process, in clock ticks.
    long cputicks() const {
        std::ifstream stat("/proc/" + std::to_string(process.processId()) + "/stat");
        std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
        std::istringstream fields(text.substr(text.rfind(')') + 2));
        std::string field;
        long utime = 0, stime = 0;
        for (int i = 3; fields >> field; ++i) {
            if (i == 14) utime = std::stol(field);
            if (i == 15) {
                stime = std::stol(field);
                break;
            }
        }
        return utime + stime;
    }
};

TEST(SpineProgram, LaunchesInOrderRestsAtTheFirstKeyAndQuitsOnSignal) {
    Program program;
    ASSERT_TRUE(program.process.waitForStarted(10000));
    ASSERT_TRUE(program.readuntil("applicationDidFinishLaunching: End.")) << program.output;
    program.readuntilquiet(500ms);

    const std::vector<std::string> launch = {"applicationWillFinishLaunching: Called.",
                                             "applicationDidFinishLaunching: Start.",
                                             "initkbtools: Start.",
                                             "initkbtools: End.",
                                             "Program: Start.",
                                             "applicationDidFinishLaunching: End."};
    std::vector<std::string> lines = program.lines();
    ASSERT_GE(lines.size(), launch.size());
    // The first five come before the program thread exists; its own lines may come before the last.
    for (size_t i = 0; i + 1 < launch.size(); ++i) EXPECT_EQ(lines[i], launch[i]);
    EXPECT_NE(std::find(lines.begin() + 5, lines.end(), launch.back()), lines.end());
    // The run got as far as loading the participants.
    EXPECT_NE(program.output.find("d_CreateTable: Table [Seelenorakel] #0 created."), std::string::npos)
        << program.output;

    // The main thread carries the delegate's name.
    std::ifstream comm("/proc/" + std::to_string(program.process.processId()) + "/comm");
    std::string name;
    std::getline(comm, name);
    EXPECT_EQ(name, "AppDelegate");

    // Waiting for a key does not keep a core busy: well under half of one second's CPU in one second.
    long before = program.cputicks();
    std::this_thread::sleep_for(1s);
    long used = program.cputicks() - before;
    EXPECT_LT(used, sysconf(_SC_CLK_TCK) / 2) << used << " ticks";

    ::kill(static_cast<pid_t>(program.process.processId()), SIGTERM);
    ASSERT_TRUE(program.process.waitForFinished(10000));
    program.output += program.process.readAllStandardOutput().toStdString();
    EXPECT_EQ(program.process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.process.exitCode(), 0);
    lines = program.lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "applicationWillTerminate: Called.");
}

} // namespace

// Whole-program tests: the real program on Qt's offscreen platform, in a child process and a bundle folder
// of its own, so that every test starts fresh with its own data file. Keys are real Qt key events sent to
// window 0's view; the screen comes back as text, the clipboard through Qt.
#pragma once

#include <QProcess>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace harness {

using namespace std::chrono_literals;

std::string contents(const std::string& path);

// A temporary folder holding "Seelenorakel.app/Contents/Resources" as built, the data file beside the .app.
struct Bundle {
    Bundle();
    ~Bundle();
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;
    std::string folder; // ends in "/"
    std::string app;    // folder + "Seelenorakel.app"
    std::string datafile() const { return folder + "Seelenorakel-Daten.txt"; }
    void writedata(const std::string& text) const { std::ofstream(datafile(), std::ios::binary) << text; }
    std::string readdata() const { return contents(datafile()); }
};

// Over the line protocol texts go as hexadecimal, so that any byte survives.
inline std::string hex(const std::string& bytes) {
    return QByteArray::fromStdString(bytes).toHex().toStdString();
}
inline std::string unhex(const std::string& text) {
    return QByteArray::fromHex(QByteArray::fromStdString(text)).toStdString();
}

using People = std::vector<std::pair<std::string, std::string>>; // name, Attribute, as testsupport

// The data file that the store of these people dumps, as the game writes it.
std::string dumpof(const People& people);

struct Game {
    explicit Game(const Bundle& bundle);
    ~Game();

    // True once the program has taken every key sent and waits for the next one within the limit.
    bool waitforkey(std::chrono::milliseconds limit = 20s) { return ask("wait", limit).has_value(); }

    // One key press and release as the X11 desktop gives them (X keycode 0 as for synthetic events).
    void press(int key, const std::string& text, uint32_t modifiers = 0, uint32_t scanCode = 0,
               uint32_t nativeModifiers = 0);
    // Characters typed ahead on a German PC keyboard, "\r" as Return; type then waits as waitforkey does.
    void send(const std::string& text);
    bool type(const std::string& text);
    void escape() { press(0x01000000, "\x1b"); }

    // The window's lines joined by "\n" without trailing blanks and empty lines. Read it while the program
    // waits for a key or after a log line that follows the output, not while it is busy.
    std::string screen(int window = 0);
    // Polls the screen until it holds the text (for a program that has stopped taking keys).
    bool screenshows(const std::string& text, std::chrono::milliseconds limit = 20s) {
        return poll([&] { return screen().find(text) != std::string::npos; }, limit);
    }
    std::string clipboard() { return unhex(ask("clipboard")); }
    void setclipboard(const std::string& text) { ask("setclipboard " + hex(text)); }
    // Any other command of harness/child.cpp, answered by its payload.
    std::string ask(const std::string& command) { return ask(command, 10s).value_or(""); }

    std::string log();
    bool logshows(const std::string& text, std::chrono::milliseconds limit = 20s) {
        return poll([&] { return log().find(text) != std::string::npos; }, limit);
    }
    bool running() const { return process.state() == QProcess::Running; }
    void kill(); // SIGKILL, as a crash or a pulled plug
    void signal(int number) { ::kill(static_cast<pid_t>(process.processId()), number); }
    bool ended(std::chrono::milliseconds limit = 10s);

  private:
    QProcess process;
    std::string output;  // the log
    std::string partial; // an unfinished line of standard output
    // Sends a command and gives the answer's text, if one came within the limit.
    std::optional<std::string> ask(const std::string& command, std::chrono::milliseconds limit);
    bool poll(const std::function<bool()>& condition, std::chrono::milliseconds limit);
};

} // namespace harness

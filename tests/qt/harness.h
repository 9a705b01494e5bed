// Whole-program tests: the real program (Qt shell, program thread, refresh) on Qt's offscreen platform,
// in a child process of its own and in a bundle folder of its own, so that every test starts from a
// fresh process with its own data file. Keys are real Qt key events sent to window 0's view; the screen
// comes back as text, the clipboard through Qt.
#pragma once

#include <QProcess>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace harness {

using namespace std::chrono_literals;

// A temporary folder holding "Seelenorakel.app/Contents/Resources" with the built fonts and sound; the
// data file lies beside the .app. Removed with the object.
struct Bundle {
    Bundle();
    ~Bundle();
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;
    std::string folder; // ends in "/"
    std::string app;    // folder + "Seelenorakel.app"
    std::string datafile() const;
    void writedata(const std::string& text) const;
    std::string readdata() const;
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
    Game(const Game&) = delete;
    Game& operator=(const Game&) = delete;

    // True once the program has taken every key sent and waits for the next one; false when it does not
    // come to that within the limit (it ended, or it is busy).
    bool waitforkey(std::chrono::milliseconds limit = 20s);

    // One key press and release as the X11 desktop gives them: Qt key, text, Qt modifiers, and the X
    // keycode (0 as for synthetic events, so that the Qt key finds the key).
    void press(int key, const std::string& text, uint32_t modifiers = 0, uint32_t scanCode = 0,
               uint32_t nativeModifiers = 0);
    // Characters typed ahead on a German PC keyboard as the X11 desktop delivers its keys, "\r" as Return;
    // type then waits until the program has taken them all, as waitforkey does.
    void send(const std::string& text);
    bool type(const std::string& text);
    void escape();

    // The text of the window, lines joined by "\n", trailing blanks and empty lines left out. The program
    // thread writes it: read it once the program waits for a key, or after a log line that follows the
    // output, not while the program is busy.
    std::string screen(int window = 0);
    // Polls the screen until it holds the text (for a program that has stopped taking keys).
    bool screenshows(const std::string& text, std::chrono::milliseconds limit = 20s);
    std::string clipboard();
    void setclipboard(const std::string& text);
    // Any other command of the program's side (harness/child.cpp), answered by its payload: "menu TAG"
    // chooses the item of that tag, "text N" gives side window N's text (in hex), "visible N" 1 or 0,
    // "image" the clipboard picture's size as WxH, "title N" window N's title.
    std::string ask(const std::string& command);

    // The program's log so far, and a wait for a line of it.
    std::string log();
    bool logshows(const std::string& text, std::chrono::milliseconds limit = 20s);
    bool running() const;
    // Ends the program at once with SIGKILL, as a crash or a pulled plug would.
    void kill();
    // Sends a signal, as the session or `kill` would; and a wait for the program's end.
    void signal(int number);
    bool ended(std::chrono::milliseconds limit = 10s);

  private:
    QProcess process;
    std::string output;  // the log
    std::string partial; // an unfinished line of standard output
    // Sends a command and gives the answer's text; false when none came within the limit.
    bool ask(const std::string& command, std::string& answer, std::chrono::milliseconds limit = 10s);
    bool poll(const std::function<bool()>& condition, std::chrono::milliseconds limit);
};

} // namespace harness

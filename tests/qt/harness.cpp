#include "harness.h"
#include "store/store.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <QProcessEnvironment>

#include <filesystem>
#include <sstream>

namespace harness {

Bundle::Bundle() : folder(testsupport::scratchfolder()), app(folder + "Seelenorakel.app") {
    // The resources the build made beside the built program.
    std::filesystem::create_directories(app + "/Contents");
    std::filesystem::copy(std::filesystem::path(SEELENORAKEL_EXECUTABLE).parent_path().parent_path() /
                              "Resources",
                          app + "/Contents/Resources", std::filesystem::copy_options::recursive);
}

Bundle::~Bundle() {
    std::error_code error;
    std::filesystem::remove_all(folder, error);
}

std::string dumpof(const People& people) {
    testsupport::participants(people);
    return d_DumpDatabase(true, true, false);
}

std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

Game::Game(const Bundle& bundle) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(SEELENORAKEL_HARNESS, QStringList{QString::fromStdString(bundle.app)});
    process.waitForStarted(10000);
}

// Closing its input ends the program the way Quit does, so that a coverage build writes its counts.
Game::~Game() {
    process.closeWriteChannel();
    if (!process.waitForFinished(3000)) process.kill();
    process.waitForFinished(5000);
}

void Game::kill() {
    process.kill();
    process.waitForFinished(5000);
}

bool Game::ended(std::chrono::milliseconds limit) {
    const bool done =
        process.state() == QProcess::NotRunning || process.waitForFinished(static_cast<int>(limit.count()));
    log();
    return done;
}

// Whole lines of standard output go to the log, except the answers, which start with byte 1 and the
// command's name. An empty command only files the lines that have come.
std::optional<std::string> Game::ask(const std::string& command, std::chrono::milliseconds limit) {
    const std::string tag = "\x01" + command.substr(0, command.find(' '));
    if (!command.empty()) {
        process.write((command + "\n").c_str());
        process.waitForBytesWritten(5000);
    }
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        for (size_t cut; (cut = partial.find('\n')) != std::string::npos;) {
            const std::string line = partial.substr(0, cut);
            partial.erase(0, cut + 1);
            if (line[0] != '\x01') output += line + "\n";
            if (command.empty() || line.compare(0, tag.size(), tag) != 0) continue;
            return line.size() > tag.size() ? line.substr(tag.size() + 1) : std::string();
        }
        if (std::chrono::steady_clock::now() > end || !running()) return std::nullopt;
        process.waitForReadyRead(20);
        partial += process.readAllStandardOutput().toStdString();
    }
}

bool Game::poll(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end || !running()) return false;
        process.waitForReadyRead(20);
    }
    return true;
}

void Game::press(int key, const std::string& text, uint32_t modifiers, uint32_t scanCode,
                 uint32_t nativeModifiers) {
    ask("key " + std::to_string(scanCode) + " " + std::to_string(key) + " " + std::to_string(modifiers) +
        " " + std::to_string(nativeModifiers) + " " + hex(text));
}

// A German PC keyboard's rows start at X keycodes 10, 24, 38 and 52.
void Game::send(const std::string& text) {
    static const QString rows[] = {"1234567890ß", "qwertzuiopü", "asdfghjklöä", "yxcvbnm"};
    for (const QChar c : QString::fromStdString(text)) {
        const QChar lower = c.toLower();
        uint32_t scan = lower == ' ' ? 65 : lower == '\r' ? 36 : 0;
        for (int row = 0; row < 4 && !scan; ++row)
            if (const qsizetype at = rows[row].indexOf(lower); at >= 0) scan = 10 + 14 * row + at;
        EXPECT_NE(scan, 0u) << "no German key for " << QString(c).toStdString();
        const bool shift = c != lower; // as Qt's modifier 0x02000000 and X11's state bit 1
        const int key = lower == '\r' ? 0x01000004 : lower.toUpper().unicode(); // Return, or the capital
        press(key, QString(c).toStdString(), shift ? 0x02000000 : 0, scan, shift);
    }
}

bool Game::type(const std::string& text) {
    send(text);
    return waitforkey();
}

std::string Game::screen(int window) {
    std::istringstream lines(unhex(ask("screen " + std::to_string(window))));
    std::string text;
    for (std::string line; std::getline(lines, line);)
        text += line.erase(line.find_last_not_of(' ') + 1) + "\n";
    return text.erase(text.find_last_not_of('\n') + 1);
}

std::string Game::log() {
    partial += process.readAllStandardOutput().toStdString();
    ask("", 0ms);
    return output;
}

} // namespace harness

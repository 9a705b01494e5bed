#include "harness.h"
#include "store/store.h"
#include "tests/testsupport.h"

#include <gtest/gtest.h>

#include <QProcessEnvironment>

#include <csignal>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace harness {

Bundle::Bundle() {
    std::string pattern = (std::filesystem::temp_directory_path() / "seelenorakel-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) return;
    folder = pattern + "/";
    app = folder + "Seelenorakel.app";
    // The resources the build made beside the built program.
    std::filesystem::create_directories(app + "/Contents");
    std::filesystem::copy(std::filesystem::path(SEELENORAKEL_EXECUTABLE).parent_path().parent_path() /
                              "Resources",
                          app + "/Contents/Resources", std::filesystem::copy_options::recursive);
}

Bundle::~Bundle() {
    std::error_code error;
    if (!folder.empty()) std::filesystem::remove_all(folder, error);
}

std::string Bundle::datafile() const {
    return folder + "Seelenorakel-Daten.txt";
}

void Bundle::writedata(const std::string& text) const {
    std::ofstream(datafile(), std::ios::binary) << text;
}

std::string dumpof(const People& people) {
    testsupport::participants(people);
    return d_DumpDatabase(true, true, false);
}

std::string Bundle::readdata() const {
    std::ifstream in(datafile(), std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
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

void Game::signal(int number) {
    ::kill(static_cast<pid_t>(process.processId()), number);
}

bool Game::ended(std::chrono::milliseconds limit) {
    const bool done =
        process.state() == QProcess::NotRunning || process.waitForFinished(static_cast<int>(limit.count()));
    log();
    return done;
}

bool Game::running() const {
    return process.state() == QProcess::Running;
}

// Whole lines of standard output go to the log, except the answers, which start with byte 1 and the
// command's name. An empty command only files the lines that have come.
bool Game::ask(const std::string& command, std::string& answer, std::chrono::milliseconds limit) {
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
            answer = line.size() > tag.size() ? line.substr(tag.size() + 1) : std::string();
            return true;
        }
        if (std::chrono::steady_clock::now() > end || !running()) return false;
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

bool Game::waitforkey(std::chrono::milliseconds limit) {
    std::string ignored;
    return ask("wait", ignored, limit);
}

void Game::press(int key, const std::string& text, uint32_t modifiers, uint32_t scanCode,
                 uint32_t nativeModifiers) {
    std::ostringstream line;
    line << "key " << scanCode << " " << key << " " << modifiers << " " << nativeModifiers << " "
         << hex(text);
    ask(line.str());
}

namespace {

// One key of a German PC keyboard: X keycode, Qt key, and whether Shift is held.
struct NativeKey {
    uint32_t scan = 0;
    int key = 0;
    bool shift = false;
};

NativeKey german(const std::string& c) {
    static const std::string rows[][2] = {
        {"qwertzuiop", "24"}, {"asdfghjkl", "38"}, {"yxcvbnm", "52"}, {"1234567890", "10"}};
    static const struct {
        const char *lower, *upper;
        uint32_t scan;
        int key;
    } umlauts[] = {{"ä", "Ä", 48, 0xC4}, {"ö", "Ö", 47, 0xD6}, {"ü", "Ü", 34, 0xDC}, {"ß", "ẞ", 20, 0xDF}};
    for (const auto& u : umlauts)
        if (c == u.lower || c == u.upper) return {u.scan, u.key, c == u.upper};
    if (c == " ") return {65, ' ', false};
    const char lower = static_cast<char>(c[0] >= 'A' && c[0] <= 'Z' ? c[0] + 32 : c[0]);
    for (const auto& row : rows)
        if (const size_t at = row[0].find(lower); at != std::string::npos) {
            const int key = lower >= 'a' ? lower - 32 : lower;
            return {static_cast<uint32_t>(std::stoi(row[1]) + static_cast<int>(at)), key, lower != c[0]};
        }
    ADD_FAILURE() << "no German key for " << c;
    return {};
}

} // namespace

void Game::send(const std::string& text) {
    for (size_t i = 0; i < text.size();) {
        const size_t length = static_cast<unsigned char>(text[i]) < 0x80 ? 1
                              : (text[i] & 0xF0) == 0xE0                 ? 3
                                                                         : 2;
        const std::string c = text.substr(i, length);
        i += length;
        if (c == "\r") {
            press(0x01000004, "\r", 0, 36);
            continue;
        }
        const NativeKey k = german(c);
        press(k.key, c, k.shift ? 0x02000000 : 0, k.scan, k.shift ? 1 : 0); // Qt's and X11's Shift
    }
}

bool Game::type(const std::string& text) {
    send(text);
    return waitforkey();
}

void Game::escape() {
    press(0x01000000, "\x1b");
}

std::string Game::screen(int window) {
    // Without the blanks at the ends of the lines and the empty lines at the bottom.
    std::istringstream lines(unhex(ask("screen " + std::to_string(window))));
    std::string text;
    for (std::string line; std::getline(lines, line);)
        text += line.erase(line.find_last_not_of(' ') + 1) + "\n";
    return text.erase(text.find_last_not_of('\n') + 1);
}

bool Game::screenshows(const std::string& text, std::chrono::milliseconds limit) {
    return poll([&] { return screen().find(text) != std::string::npos; }, limit);
}

std::string Game::ask(const std::string& command) {
    std::string answer;
    ask(command, answer);
    return answer;
}

std::string Game::clipboard() {
    return unhex(ask("clipboard"));
}

void Game::setclipboard(const std::string& text) {
    ask("setclipboard " + hex(text));
}

std::string Game::log() {
    std::string ignored;
    partial += process.readAllStandardOutput().toStdString();
    ask("", ignored, 0ms);
    return output;
}

bool Game::logshows(const std::string& text, std::chrono::milliseconds limit) {
    return poll([&] { return log().find(text) != std::string::npos; }, limit);
}

} // namespace harness

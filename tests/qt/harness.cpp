#include "harness.h"
#include "tests/qt/harness/hex.h"

#include <QProcessEnvironment>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace harness {

namespace {

// The resources the build made, beside the built program.
std::filesystem::path builtresources() {
    return std::filesystem::path(SEELENORAKEL_EXECUTABLE).parent_path().parent_path() / "Resources";
}

} // namespace

Bundle::Bundle() {
    std::string pattern = (std::filesystem::temp_directory_path() / "seelenorakel-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) return;
    folder = pattern + "/";
    app = folder + "Seelenorakel.app";
    const std::filesystem::path resources = std::filesystem::path(app) / "Contents" / "Resources";
    std::filesystem::create_directories(resources);
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(builtresources(), error))
        std::filesystem::copy(entry.path(), resources / entry.path().filename(), error);
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

Game::~Game() {
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished(5000);
    }
}

bool Game::running() const {
    return process.state() == QProcess::Running;
}

void Game::readmore(int milliseconds) {
    process.waitForReadyRead(milliseconds);
    partial += process.readAllStandardOutput().toStdString();
}

void Game::send(const std::string& line) {
    process.write((line + "\n").c_str());
    process.waitForBytesWritten(5000);
}

// Whole lines go to the log, except the answers, which start with byte 1.
bool Game::reply(const std::string& tag, std::string& payload, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        for (size_t cut; (cut = partial.find('\n')) != std::string::npos;) {
            std::string line = partial.substr(0, cut);
            partial.erase(0, cut + 1);
            if (line.empty() || line[0] != '\x01') {
                output += line + "\n";
                continue;
            }
            line.erase(0, 1);
            if (line.compare(0, tag.size(), tag) != 0) continue;
            payload = line.size() > tag.size() ? line.substr(tag.size() + 1) : std::string();
            return true;
        }
        if (std::chrono::steady_clock::now() > end || !running()) return false;
        readmore(20);
    }
}

bool Game::waitforkey(std::chrono::milliseconds limit) {
    send("wait");
    std::string ignored;
    return reply("wait", ignored, limit);
}

void Game::press(int key, const std::string& text, uint32_t modifiers, uint32_t scanCode,
                 uint32_t nativeModifiers) {
    std::ostringstream line;
    line << "key " << scanCode << " " << key << " " << modifiers << " " << nativeModifiers << " "
         << tohex(text);
    send(line.str());
    std::string ignored;
    reply("key", ignored, 10s);
}

bool Game::type(std::string_view keys) {
    for (char c : keys) {
        const bool capital = c >= 'A' && c <= 'Z';
        const int key = c >= 'a' && c <= 'z' ? c - 32 : c;
        press(key, std::string(1, c), capital ? 0x02000000u : 0u);
        if (!waitforkey()) return false;
    }
    return true;
}

void Game::enter() {
    press(0x01000004, "\r");
}

void Game::escape() {
    press(0x01000000, "\x1b");
}

std::string Game::screen(int window) {
    send("screen " + std::to_string(window));
    std::string hex;
    reply("screen", hex, 10s);
    // Without the blanks at the ends of the lines and the empty lines at the bottom.
    std::istringstream lines(fromhex(hex));
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

bool Game::screenshows(const std::string& text, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (screen().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > end || !running()) return false;
        readmore(20);
    }
    return true;
}

std::string Game::clipboard() {
    send("clipboard");
    std::string hex;
    reply("clipboard", hex, 10s);
    return fromhex(hex);
}

void Game::setclipboard(const std::string& text) {
    send("setclipboard " + tohex(text));
    std::string ignored;
    reply("setclipboard", ignored, 10s);
}

std::string Game::log() {
    readmore(0);
    std::string ignored;
    reply("\x02", ignored, 0ms); // no answer has that tag: this only files the lines that have come
    return output;
}

bool Game::logshows(const std::string& text, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (log().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > end || !running()) return false;
        readmore(20);
    }
    return true;
}

} // namespace harness

#include "harness.h"
#include "store/store.h"
#include "tests/testsupport.h"

#include <QProcessEnvironment>

#include <csignal>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace harness {

namespace {

// Over the line protocol texts go as hexadecimal, so that any byte survives.
std::string hex(const std::string& bytes) {
    return QByteArray::fromStdString(bytes).toHex().toStdString();
}
std::string unhex(const std::string& text) {
    return QByteArray::fromHex(QByteArray::fromStdString(text)).toStdString();
}

} // namespace

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

Game::Game(const Bundle& bundle, const std::string& platform) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", QString::fromStdString(platform));
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

bool Game::type(std::string_view keys) {
    for (char c : keys) {
        press(c >= 'a' && c <= 'z' ? c - 32 : c, std::string(1, c), c >= 'A' && c <= 'Z' ? 0x02000000u : 0u);
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

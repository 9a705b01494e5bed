// The whole program as tests/qt/harness.h drives it: the same start as the program's own main, in the
// bundle folder named by the first argument, and a line protocol on standard input. Each command is
// carried out on the main thread and answered by one line on standard output that starts with byte 1;
// everything else there is the program's log.
#include "shell/events.h"
#include "shell/qt/appdelegate.h"
#include "shell/shell.h"
#include "terminal/terminal.h"
#include "tests/qt/harness/hex.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QSocketNotifier>
#include <QTimer>

#include <cstdio>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

void answer(const std::string& line) {
    const std::string whole = "\x01" + line + "\n";
    std::fwrite(whole.data(), 1, whole.size(), stdout);
    std::fflush(stdout);
}

// Answers once the program has taken every queued key and then polled for the next one at least once.
void answerwhenwaiting() {
    auto* timer = new QTimer(qApp);
    auto* seen = new Int(-1);
    QObject::connect(timer, &QTimer::timeout, [timer, seen] {
        if (t_KeyEventPending.load()) {
            *seen = -1;
            return;
        }
        if (*seen < 0) {
            *seen = t_KeyWaitPolls.load();
            return;
        }
        if (t_KeyWaitPolls.load() <= *seen) return;
        timer->stop();
        timer->deleteLater();
        delete seen;
        answer("wait");
    });
    timer->start(1);
}

void command(const std::string& line) {
    std::istringstream in(line);
    std::string name;
    in >> name;
    if (name == "key") {
        uint32_t scan = 0, mods = 0, native = 0;
        int key = 0;
        std::string text;
        in >> scan >> key >> mods >> native >> text;
        const QString qtext = QString::fromStdString(fromhex(text));
        const auto modifiers = Qt::KeyboardModifiers::fromInt(static_cast<int>(mods));
        DisplayView* view = t_Delegate->view(0);
        QKeyEvent press(QEvent::KeyPress, key, modifiers, scan, 0, native, qtext);
        QKeyEvent release(QEvent::KeyRelease, key, modifiers, scan, 0, native, qtext);
        QCoreApplication::sendEvent(view, &press);
        QCoreApplication::sendEvent(view, &release);
        answer("key");
    } else if (name == "wait") {
        answerwhenwaiting();
    } else if (name == "screen") {
        int window = 0;
        in >> window;
        answer("screen " + tohex(t_GetScreen(static_cast<uint8_t>(window), "\n")));
    } else if (name == "clipboard") {
        answer("clipboard " + tohex(QGuiApplication::clipboard()->text().toStdString()));
    } else if (name == "setclipboard") {
        std::string text;
        in >> text;
        QGuiApplication::clipboard()->setText(QString::fromStdString(fromhex(text)));
        answer("setclipboard");
    } else {
        answer("unknown");
    }
}

} // namespace

int main(int argc, char** argv) {
    threadregistermain();
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QApplication application(argc, argv);
    prepareapplication(application);
    if (argc > 1) setbundlepath(argv[1]);

    auto* input = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, &application);
    auto* pending = new std::string;
    QObject::connect(input, &QSocketNotifier::activated, [input, pending] {
        char buffer[4096];
        const ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
        // The test has gone: so does the program.
        if (n <= 0) {
            input->setEnabled(false);
            quitapplication();
        }
        pending->append(buffer, static_cast<size_t>(n));
        for (size_t end; (end = pending->find('\n')) != std::string::npos;) {
            const std::string line = pending->substr(0, end);
            pending->erase(0, end + 1);
            command(line);
        }
    });

    applicationWillFinishLaunching();
    QTimer::singleShot(0, [] { applicationDidFinishLaunching(); });
    application.exec();
    quitapplication();
}

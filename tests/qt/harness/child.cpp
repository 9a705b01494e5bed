// The whole program as tests/qt/harness.h drives it: the same start as the program's own main, in the
// bundle folder named by the first argument, and a line protocol on standard input. Each command is
// carried out on the main thread and answered by one line on standard output that starts with byte 1
// and the command's name; everything else there is the program's log.
#include "application/application.h"
#include "bench/qt/keylatency.h"
#include "shell/events.h"
#include "shell/qt/appdelegate.h"
#include "tests/qt/harness.h"
#include "shell/shell.h"
#include "terminal/terminal.h"

#include <QApplication>
#include <QAction>
#include <QClipboard>
#include <QImage>
#include <QKeyEvent>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <unistd.h>

namespace {

void answer(const std::string& line) {
    std::printf("\x01%s\n", line.c_str());
    std::fflush(stdout);
}

using harness::hex, harness::unhex;

// Answers once the program has taken every queued key and then polled for the next one at least once.
void answerwhenwaiting() {
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [timer, seen = Int(-1)]() mutable {
        if (t_KeyEventPending.load()) {
            seen = -1;
        } else if (seen < 0) {
            seen = t_KeyWaitPolls.load();
        } else if (t_KeyWaitPolls.load() > seen) {
            timer->deleteLater();
            answer("wait");
        }
    });
    timer->start(1);
}

// Each command answers with its name and what it gives, but for wait, latency and quit.
void command(const std::string& line) {
    std::istringstream in(line);
    std::string name, text, reply;
    in >> name;
    // The other commands take numbers: a window, a tag, a count or a cell.
    auto number = [&in] {
        int n = 0;
        in >> n;
        return n;
    };
    if (name == "key") {
        uint32_t scan = 0, mods = 0, native = 0;
        int key = 0;
        in >> scan >> key >> mods >> native >> text;
        const auto modifiers = Qt::KeyboardModifiers::fromInt(static_cast<int>(mods));
        for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, modifiers, scan, 0, native, QString::fromStdString(unhex(text)));
            QCoreApplication::sendEvent(t_Delegate->view(0), &event);
        }
    } else if (name == "wait") {
        return answerwhenwaiting();
    } else if (name == "screen") {
        reply = hex(t_GetScreen(static_cast<uint8_t>(number()), "\n"));
    } else if (name == "colours") {
        // Of cells X Y..., from the colour plane, which starts at half the text block.
        const t_Window& w = t_WindowTable[number()];
        const Int plane = w.TextMemoryStart + (w.TextMemoryEnd - w.TextMemoryStart + 1) / 2;
        for (int x, y; in >> x >> y;)
            reply += std::to_string(t_VideoMemory[plane + (x - 1) + w.TextWidth * (y - 1)]) + " ";
    } else if (name == "clipboard") {
        reply = hex(QGuiApplication::clipboard()->text().toStdString());
    } else if (name == "image") {
        const QImage image = QGuiApplication::clipboard()->image();
        reply = std::to_string(image.width()) + "x" + std::to_string(image.height());
    } else if (name == "menu" || name == "phone") {
        // The item of a tag, or the phones' item by its name.
        const int tag = number();
        for (QMenu* menu : t_Delegate->menus())
            for (QAction* action : menu->actions())
                if (!action->isSeparator() && (name == "menu" ? action->data().toInt() == tag
                                                              : action->text() == "Mit Telefonen spielen…"))
                    action->trigger();
    } else if (name == "text") {
        const QPlainTextEdit* view = t_Delegate->textView(number());
        reply = hex(view ? view->toPlainText().toStdString() : std::string());
    } else if (name == "visible" || name == "title") {
        const QMainWindow* w = t_Delegate->window(number());
        reply =
            name == "title" ? (w ? w->windowTitle().toStdString() : "") : (w && w->isVisible() ? "1" : "0");
    } else if (name == "latency") {
        return measurelatency(std::max(number(), 1), answer);
    } else if (name == "pausesave") {
        t_SavePause.store(number());
    } else if (name == "quit") {
        for (QAction* action : t_Delegate->ApplicationMenu->actions())
            if (action->menuRole() == QAction::QuitRole) action->trigger();
        return;
    } else if (name == "setclipboard") {
        in >> text;
        QGuiApplication::clipboard()->setText(QString::fromStdString(unhex(text)));
    }
    answer(name + " " + reply);
}

} // namespace

int main(int argc, char** argv) {
    threadregistermain();
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QApplication application(argc, argv);
    prepareapplication(application);
    if (argc > 1) setbundlepath(argv[1]);
    // One call per line, so that an answer never lands inside a log line.
    debuglogsink(
        [](std::string_view line) { std::printf("%.*s\n", static_cast<int>(line.size()), line.data()); });

    auto* input = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, &application);
    QObject::connect(input, &QSocketNotifier::activated, [input, pending = std::string()]() mutable {
        char buffer[4096];
        const ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
        // The test has gone: so does the program.
        if (n <= 0) {
            input->setEnabled(false);
            quitapplication();
            return;
        }
        pending.append(buffer, static_cast<size_t>(n));
        for (size_t end; (end = pending.find('\n')) != std::string::npos; pending.erase(0, end + 1))
            command(pending.substr(0, end));
    });

    applicationWillFinishLaunching();
    QTimer::singleShot(0, [] { applicationDidFinishLaunching(SeelenorakelMain); });
    application.exec();
    quitapplication();
}

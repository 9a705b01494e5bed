// The platform port on Qt: windows, views, text views, the pasteboard, sound and screens, each call run
// on the main thread; and the application's start and quit.
#include "shell/qt/appdelegate.h"
#include "shell/shell.h"

#include <QApplication>
#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QBuffer>
#include <QClipboard>
#include <QEvent>
#include <QGuiApplication>
#include <QImage>
#include <QMediaDevices>
#include <QMenuBar>
#include <QMetaObject>
#include <QScreen>
#include <QSocketNotifier>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <unistd.h>

namespace {

std::thread::id mainThreadId;

t_Handle token(const QWidget* widget) {
    return static_cast<const void*>(widget);
}

int whole(double value) {
    return static_cast<int>(std::lround(value));
}

// The toolkit counts y upward from the bottom of the primary screen; Qt downward from its top.
int primarybottom() {
    QScreen* screen = QGuiApplication::primaryScreen();
    return screen ? screen->geometry().y() + screen->geometry().height() : 0;
}

t_PlatformRect fromglobal(const QRect& r) {
    return {double(r.x()), double(primarybottom() - (r.y() + r.height())), double(r.width()),
            double(r.height())};
}

QRect toglobal(const t_PlatformRect& r) {
    return QRect(whole(r.X), primarybottom() - whole(r.Y + r.Height), whole(r.Width), whole(r.Height));
}

int barheight(QMainWindow* window) {
    QMenuBar* bar = window->menuBar();
    // A window without title has its bar hidden on purpose; a bar not yet shown still counts.
    const bool hidden = bar->testAttribute(Qt::WA_WState_ExplicitShowHide) && bar->isHidden();
    return hidden ? 0 : bar->sizeHint().height();
}

// Child frames count from the bottom of the content, which lies below the menu bar.
int contentheight(QMainWindow* window) {
    return window->height() - barheight(window);
}

t_PlatformRect fromcontent(QMainWindow* window, const QRect& r) {
    return {double(r.x()), double(contentheight(window) - (r.y() + r.height())), double(r.width()),
            double(r.height())};
}

QRect tocontent(QMainWindow* window, const t_PlatformRect& r) {
    return QRect(whole(r.X), contentheight(window) - whole(r.Y + r.Height), whole(r.Width), whole(r.Height));
}

QMainWindow* windowof(uint8_t n) {
    return t_Delegate ? t_Delegate->window(n) : nullptr;
}
DisplayView* viewof(uint8_t n) {
    return t_Delegate ? t_Delegate->view(n) : nullptr;
}
QPlainTextEdit* textof(uint8_t n) {
    return t_Delegate ? t_Delegate->textView(n) : nullptr;
}

void showwindow(uint8_t n, bool takeKeys) {
    QMainWindow* w = windowof(n);
    if (!w) return;
    w->setAttribute(Qt::WA_ShowWithoutActivating, !takeKeys);
    w->show();
    w->raise();
    if (takeKeys) {
        w->activateWindow();
        if (DisplayView* v = viewof(n)) v->setFocus();
    }
    w->setAttribute(Qt::WA_ShowWithoutActivating, false);
}

// Plays the sound on the default output; without one, or when it refuses the format, the system beeps.
void playsound(const std::shared_ptr<const AiffSound>& sound) {
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    QAudioFormat format;
    format.setSampleRate(static_cast<int>(std::lround(sound->SampleRate)));
    format.setChannelCount(static_cast<int>(sound->Channels));
    format.setSampleFormat(QAudioFormat::Int16);
    if (device.isNull() || !device.isFormatSupported(format)) {
        QApplication::beep();
        return;
    }
    auto* sink = new QAudioSink(device, format, qApp);
    auto* buffer = new QBuffer(sink);
    buffer->setData(reinterpret_cast<const char*>(sound->Samples.data()),
                    static_cast<qsizetype>(sound->Samples.size() * sizeof(int16_t)));
    buffer->open(QIODevice::ReadOnly);
    // The sink goes once the sound has run out or the device has gone.
    QObject::connect(sink, &QAudioSink::stateChanged, sink, [sink](QAudio::State state) {
        if (state != QAudio::IdleState && state != QAudio::StoppedState) return;
        QObject::disconnect(sink, nullptr, sink, nullptr);
        sink->stop();
        sink->deleteLater();
    });
    sink->start(buffer);
    if (sink->error() != QAudio::NoError && sink->state() != QAudio::ActiveState) {
        QObject::disconnect(sink, nullptr, sink, nullptr);
        sink->deleteLater();
        QApplication::beep();
    }
}

// Blocks for the main thread. They pass through a queue under a standard mutex, and a blocking caller
// waits on a standard condition variable, so that the order between the threads rests on the standard
// library alone: a race checker sees it there, while Qt's own locks (not built for it) stay invisible.
// Qt only carries an empty wake-up event, one per block, so blocks keep their place among posted events.
class Mailbox : public QObject {
  public:
    Mailbox() = default;

    void post(std::function<void()> block) {
        // The wake-up is made before the lock is let go and read only under it, so that its memory
        // changes hands in an order the checker sees as well.
        auto* wake = new QEvent(WakeUp);
        {
            std::lock_guard<std::mutex> lock(Guard);
            Blocks.push_back(std::move(block));
        }
        QCoreApplication::postEvent(this, wake);
    }

  protected:
    bool event(QEvent* event) override {
        std::unique_lock<std::mutex> lock(Guard);
        if (event->type() != WakeUp) {
            lock.unlock();
            return QObject::event(event);
        }
        // One block per wake-up; a block that runs the event loop itself may meet the next one there.
        if (Blocks.empty()) return true;
        std::function<void()> block = std::move(Blocks.front());
        Blocks.pop_front();
        lock.unlock();
        block();
        return true;
    }

  private:
    static constexpr QEvent::Type WakeUp = QEvent::User;
    std::mutex Guard;
    std::deque<std::function<void()>> Blocks;
};

// What a blocking caller waits on.
struct Crossing {
    std::mutex Guard;
    std::condition_variable Ran;
    bool Done = false;
    std::exception_ptr Error;
};

int signalPipe[2] = {-1, -1};

void onsignal(int) {
    char byte = 1;
    ssize_t ignored = write(signalPipe[1], &byte, 1);
    (void)ignored;
}

} // namespace

t_PlatformPort qtplatformport() {
    mainThreadId = std::this_thread::get_id();
    t_PlatformPort port;
    port.IsMainThread = [] { return std::this_thread::get_id() == mainThreadId; };
    // Made on the main thread, kept to process end.
    static Mailbox* const mailbox = new Mailbox;
    port.RunOnMainSync = [](const std::function<void()>& block) {
        Crossing crossing;
        mailbox->post([&block, &crossing] {
            try {
                block();
            } catch (...) {
                crossing.Error = std::current_exception();
            }
            std::lock_guard<std::mutex> lock(crossing.Guard);
            crossing.Done = true;
            crossing.Ran.notify_one();
        });
        std::unique_lock<std::mutex> lock(crossing.Guard);
        crossing.Ran.wait(lock, [&crossing] { return crossing.Done; });
        if (crossing.Error) std::rethrow_exception(crossing.Error);
    };
    port.RunOnMainAsync = [](std::function<void()> block) { mailbox->post(std::move(block)); };

    port.Window = [](uint8_t n) { return token(windowof(n)); };
    port.View = [](uint8_t n) { return token(viewof(n)); };
    port.TextView = [](uint8_t n) { return token(textof(n)); };
    port.ScrollView = [](uint8_t n) { return token(textof(n)); };
    port.Ruler = [](uint8_t n) { return token(t_Delegate ? t_Delegate->ruler(n) : nullptr); };
    port.MainWindow = [] { return token(QApplication::activeWindow()); };

    // A display window answers with the size the program set, whatever size it is shown at.
    port.WindowFrame = [](uint8_t n) {
        QMainWindow* w = windowof(n);
        if (!w) return t_PlatformRect{};
        const DisplayView* v = viewof(n);
        if (!v) return fromglobal(w->geometry());
        return fromglobal(QRect(w->geometry().topLeft(),
                                QSize(v->LogicalContent.width(), v->LogicalContent.height() + barheight(w))));
    };
    port.SetWindowFrame = [](uint8_t n, t_PlatformRect frame) {
        QMainWindow* w = windowof(n);
        if (!w) return;
        QRect r = toglobal(frame);
        DisplayView* v = viewof(n);
        if (v) {
            // Shown scaled down where the frame doesn't fit the screen's available area, bar included.
            const int bar = barheight(w);
            v->LogicalContent = QSize(r.width(), r.height() - bar);
            QScreen* screen = QGuiApplication::screenAt(r.center());
            const QRect area = (screen ? screen : w->screen())->availableGeometry();
            const double scale = startscale(r.width(), r.height(), bar, area.width(), area.height());
            r.setSize(QSize(whole(v->LogicalContent.width() * scale),
                            whole(v->LogicalContent.height() * scale) + bar));
            if (scale < 1)
                r.moveTo(std::clamp(r.x(), area.left(), area.right() + 1 - r.width()),
                         std::clamp(r.y(), area.top(), area.bottom() + 1 - r.height()));
            w->setMinimumSize(160, 100 + bar);
            v->update();
        }
        w->setGeometry(r);
    };
    port.WindowCenter = [](uint8_t n) {
        QMainWindow* w = windowof(n);
        if (!w) return;
        QRect area = w->screen()->availableGeometry();
        // Across: the exact middle; down: a third of the free room above, two thirds below. The client
        // rectangle is placed, as everywhere else: move() would place the decorations' corner.
        w->setGeometry(area.x() + (area.width() - w->width()) / 2,
                       area.y() + (area.height() - w->height()) / 3, w->width(), w->height());
    };
    port.WindowOrderFront = [](uint8_t n) { showwindow(n, false); };
    port.WindowMakeKeyAndOrderFront = [](uint8_t n) { showwindow(n, true); };
    port.WindowOrderOut = [](uint8_t n) {
        if (QMainWindow* w = windowof(n)) w->hide();
    };
    port.WindowIsVisible = [](uint8_t n) {
        QMainWindow* w = windowof(n);
        return w && w->isVisible();
    };
    port.WindowTitle = [](uint8_t n) {
        QMainWindow* w = windowof(n);
        return w ? w->windowTitle().toStdString() : std::string();
    };
    port.SetWindowTitle = [](uint8_t n, const std::string& title) {
        if (QMainWindow* w = windowof(n)) w->setWindowTitle(QString::fromStdString(title));
    };
    port.SetWindowStyle = [](uint8_t n, Int mask) {
        QMainWindow* w = windowof(n);
        if (!w) return;
        bool visible = w->isVisible();
        if (mask != 0)
            w->setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                              Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint);
        else
            w->setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
        // The bar stands for the title in every measure, so it goes with it.
        w->menuBar()->setVisible(mask != 0);
        // Changing the flags hides the window.
        if (visible) w->show();
    };
    port.SetWindowBackground = [](uint8_t n, t_RGBColor color) {
        if (DisplayView* v = viewof(n)) {
            v->Border = QColor(color.Red, color.Green, color.Blue);
            v->update();
        }
        QMainWindow* w = windowof(n);
        if (!w || !w->centralWidget()) return;
        QPalette palette = w->centralWidget()->palette();
        palette.setColor(QPalette::Window, QColor(color.Red, color.Green, color.Blue));
        w->centralWidget()->setPalette(palette);
    };
    port.TitleHeight = [](uint8_t n) -> Int {
        QMainWindow* w = windowof(n);
        return w ? barheight(w) : 0;
    };
    port.ScreenFrame = [](uint8_t n) {
        QMainWindow* w = windowof(n);
        return w ? fromglobal(w->screen()->geometry()) : t_PlatformRect{};
    };
    port.ScreenVisibleFrame = [](uint8_t n) {
        QMainWindow* w = windowof(n);
        return w ? fromglobal(w->screen()->availableGeometry()) : t_PlatformRect{};
    };

    port.SetViewFrame = [](uint8_t n, t_PlatformRect frame) {
        DisplayView* v = viewof(n);
        if (!v) return;
        // In the content the program set, y downward; the view scales it with the window.
        v->LogicalView = QRect(whole(frame.X), v->LogicalContent.height() - whole(frame.Y + frame.Height),
                               whole(frame.Width), whole(frame.Height));
        v->update();
    };
    port.ViewNeedsDisplay = [](uint8_t n) {
        if (DisplayView* v = viewof(n)) v->refresh();
    };
    port.ViewDisplay = [](uint8_t n) {
        if (DisplayView* v = viewof(n)) v->repaint();
    };

    port.ScrollViewFrame = [](uint8_t n) {
        QPlainTextEdit* t = textof(n);
        return t ? fromcontent(windowof(n), t->geometry()) : t_PlatformRect{};
    };
    port.SetScrollViewFrame = [](uint8_t n, t_PlatformRect frame) {
        if (QPlainTextEdit* t = textof(n)) t->setGeometry(tocontent(windowof(n), frame));
    };
    port.SetRulerFrame = [](uint8_t n, t_PlatformRect frame) {
        QLabel* ruler = t_Delegate ? t_Delegate->ruler(n) : nullptr;
        if (ruler) ruler->setGeometry(tocontent(windowof(n), frame));
    };
    port.TextViewString = [](uint8_t n) {
        QPlainTextEdit* t = textof(n);
        return t ? t->toPlainText().toStdString() : std::string();
    };
    port.SetTextViewString = [](uint8_t n, const std::string& text) {
        if (QPlainTextEdit* t = textof(n)) t->setPlainText(QString::fromStdString(text));
    };
    port.TextViewNeedsDisplay = [](uint8_t n) {
        if (QPlainTextEdit* t = textof(n)) t->viewport()->update();
    };

    port.PasteboardClear = [] { QGuiApplication::clipboard()->clear(QClipboard::Clipboard); };
    port.PasteboardSetText = [](const std::string& text) {
        QGuiApplication::clipboard()->setText(QString::fromStdString(text), QClipboard::Clipboard);
    };
    port.PasteboardText = [] {
        return QGuiApplication::clipboard()->text(QClipboard::Clipboard).toStdString();
    };
    port.PasteboardSetImage = [](const std::vector<uint32_t>& pixels, Int width, Int height) {
        if (width <= 0 || height <= 0 || pixels.size() < static_cast<size_t>(width * height)) {
            debuglog("PasteboardSetImage: Picture size does not match its pixels.");
            return;
        }
        QImage image(static_cast<int>(width), static_cast<int>(height), QImage::Format_RGB32);
        for (int y = 0; y < image.height(); ++y)
            std::memcpy(image.scanLine(y), pixels.data() + y * width, static_cast<size_t>(width) * 4);
        QGuiApplication::clipboard()->setImage(image, QClipboard::Clipboard);
    };

    port.Beep = [] { QApplication::beep(); };
    port.PlaySound = [](std::shared_ptr<const AiffSound> sound) {
        if (sound) playsound(sound);
    };
    port.Terminate = [] { quitapplication(); };
    qtmenuport(port);
    return port;
}

void quitapplication() {
    static std::atomic<bool> quitting{false};
    if (!quitting.exchange(true)) {
        debuglog("applicationWillTerminate: Called.");
        t_ProgramTerminateHandler();
    }
    // Quit, the close at the session's end and the quit signals all come here: a save in progress
    // finishes first, so that the data file is never left half written.
    if (!waitforsaves(5000))
        debuglog("applicationWillTerminate: A save still runs after 5 s; quitting anyway.");
    std::fflush(stdout);
    std::fflush(stderr);
    writecoverage();
    _exit(0);
}

void prepareapplication(QApplication& application) {
    application.setQuitOnLastWindowClosed(false);
    installmenustyle(application);
    t_Delegate = new AppDelegate;
    setplatformport(qtplatformport());
    installquitsignals();
    QObject::connect(&application, &QCoreApplication::aboutToQuit, [] { quitapplication(); });
}

void installquitsignals() {
    if (pipe(signalPipe) != 0) {
        debuglog("installquitsignals: No pipe for the quit signals.");
        return;
    }
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, [] { quitapplication(); });
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = onsignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int s : {SIGTERM, SIGINT, SIGHUP}) sigaction(s, &action, nullptr);
}

void choosexcbonwayland() {
    // Qt's own variables, read only to pick its platform; the program has no settings of its own.
    const char* chosen = std::getenv("QT_QPA_PLATFORM");
    if (chosen && *chosen) return;
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    const char* session = std::getenv("XDG_SESSION_TYPE");
    const char* x11 = std::getenv("DISPLAY");
    bool onWayland = (wayland && *wayland) || (session && std::strcmp(session, "wayland") == 0);
    if (onWayland && x11 && *x11) setenv("QT_QPA_PLATFORM", "xcb", 1);
}

// The key-to-screen measurement that bench/keylatency.sh asks the test harness's program for.
#include "bench/qt/keylatency.h"
#include "shell/events.h"
#include "shell/qt/appdelegate.h"
#include "terminal/terminal.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <vector>

namespace {

void sendkey(int key, const QString& text, uint32_t scan) {
    for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, Qt::NoModifier, scan, 0, 0, text);
        QCoreApplication::sendEvent(t_Delegate->view(0), &event);
    }
}

} // namespace

void measurelatency(int keys, void (*answer)(const std::string& line)) {
    struct State {
        int sent = 0, paints = 0;
        bool waiting = true;
        Int polls = -1;
        std::string before;
        std::chrono::steady_clock::time_point at;
        std::vector<double> times;
    };
    auto* timer = new QTimer(qApp);
    auto* state = new State;
    QObject::connect(timer, &QTimer::timeout, [timer, state, keys, answer] {
        DisplayView* view = t_Delegate->view(0);
        if (state->waiting) {
            // The program waits for a key again and the screen stands.
            if (t_KeyEventPending.load() ||
                (state->polls < 0 && (state->polls = t_KeyWaitPolls.load(), true)) ||
                t_KeyWaitPolls.load() <= state->polls)
                return;
            state->waiting = false;
            if (state->sent == keys) {
                std::sort(state->times.begin(), state->times.end());
                const auto at = [&](double q) { return state->times[static_cast<size_t>(q * (keys - 1))]; };
                answer("latency " + std::to_string(at(0.5)) + " " + std::to_string(at(0.99)));
                timer->deleteLater();
                delete state;
                return;
            }
            state->before = t_GetScreen(0, "\n");
            state->paints = view->Paints;
            state->at = std::chrono::steady_clock::now();
            if (state->sent++ % 2 == 0)
                sendkey('X', "x", 53);
            else
                sendkey(Qt::Key_Backspace, "\b", 22);
            return;
        }
        // A key that shows nothing (the program not at a field) ends the measurement.
        if (std::chrono::steady_clock::now() - state->at > std::chrono::seconds(2)) {
            answer("latency none");
            timer->deleteLater();
            delete state;
            return;
        }
        if (view->Paints == state->paints) return;
        state->paints = view->Paints;
        if (t_GetScreen(0, "\n") == state->before) return;
        state->times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - state->at).count());
        state->waiting = true;
        state->polls = -1;
    });
    timer->start(1);
}

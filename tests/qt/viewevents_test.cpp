// Keys, clicks and the close box through the Qt views themselves, in this process.
#include "display/display.h"
#include "shell/events.h"
#include "shell/platform.h"
#include "shell/qt/appdelegate.h"

#include <QApplication>
#include <QtTest/qtestspontaneevent.h>
#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace std::chrono_literals;

constexpr uint8_t win = 5;

std::vector<t_Event> takekeys() {
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    std::vector<t_Event> out(t_KeyQueue.begin(), t_KeyQueue.end());
    t_KeyQueue.clear();
    t_KeyEventPending = false;
    return out;
}

class ViewEvents : public ::testing::Test {
  protected:
    void SetUp() override {
        savedMemory = t_MemoryInitialized.load();
        t_MemoryInitialized = true;
        t_Window& w = t_WindowTable[win];
        w.Width = 64;
        w.Height = 32;
        w.BorderWidth = w.BorderHeight = 16;
        w.Initialized = true;
        t_Delegate->view(win)->setGeometry(16, 16, 64, 32);
        takekeys();
    }
    void TearDown() override {
        t_WindowTable[win].Initialized = false;
        t_MemoryInitialized = savedMemory;
        takekeys();
    }
    bool savedMemory = false;
    static void key(QEvent::Type type, int qtKey, const QString& text, Qt::KeyboardModifiers mods = {},
                    bool repeat = false) {
        QKeyEvent event(type, qtKey, mods, 0, 0, 0, text, repeat);
        QCoreApplication::sendEvent(t_Delegate->view(win), &event);
    }
};

TEST_F(ViewEvents, TabAndShiftTabReachTheViewAndEveryKeyIsTaken) {
    QKeyEvent tab(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier, "\t");
    QCoreApplication::sendEvent(t_Delegate->view(win), &tab);
    EXPECT_TRUE(tab.isAccepted());
    key(QEvent::KeyPress, Qt::Key_Backtab, "", Qt::ShiftModifier);
    QKeyEvent f1(QEvent::KeyPress, Qt::Key_F1, Qt::NoModifier, "");
    QCoreApplication::sendEvent(t_Delegate->view(win), &f1);
    EXPECT_TRUE(f1.isAccepted()) << "an ignored key would travel on to the window";
    const std::vector<t_Event> q = takekeys();
    ASSERT_EQ(q.size(), 3u);
    EXPECT_EQ(q[0].Value, 9);
    EXPECT_EQ(q[1].Value, 20);
    EXPECT_EQ(q[2].Value, 129);
    EXPECT_EQ(q[2].Window, win);
}

TEST_F(ViewEvents, ModifierKeysAndReleasesMakeNoKeysAndARepeatedReleaseIsNotAKeyUp) {
    // As X11 gives them: the modifiers as they were before the key.
    key(QEvent::KeyPress, Qt::Key_Shift, "");
    EXPECT_TRUE(t_ModifierState.Shift.load());
    key(QEvent::KeyPress, Qt::Key_A, "A", Qt::ShiftModifier);
    EXPECT_TRUE(t_KeyIsDown.load());
    key(QEvent::KeyRelease, Qt::Key_A, "A", Qt::ShiftModifier, true);
    EXPECT_TRUE(t_KeyIsDown.load());
    key(QEvent::KeyRelease, Qt::Key_A, "A", Qt::ShiftModifier);
    EXPECT_FALSE(t_KeyIsDown.load());
    key(QEvent::KeyRelease, Qt::Key_Shift, "", Qt::ShiftModifier);
    EXPECT_FALSE(t_ModifierState.Shift.load());
    const std::vector<t_Event> q = takekeys();
    ASSERT_EQ(q.size(), 1u);
    EXPECT_EQ(q[0].Value, 'A');
    EXPECT_TRUE(q[0].ShiftPressed);
}

TEST_F(ViewEvents, AClickIsCountedInThePictureOfTheView) {
    {
        std::lock_guard<std::mutex> lock(t_MouseQueueLock);
        t_MouseQueue.clear();
    }
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 7), QPointF(5, 7), Qt::RightButton,
                      Qt::RightButton, Qt::NoModifier);
    QCoreApplication::sendEvent(t_Delegate->view(win), &press);
    EXPECT_TRUE(t_MouseButtonDown[1].load());
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(5, 7), QPointF(5, 7), Qt::RightButton,
                        Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(t_Delegate->view(win), &release);
    EXPECT_FALSE(t_MouseButtonDown[1].load());
    std::lock_guard<std::mutex> lock(t_MouseQueueLock);
    ASSERT_EQ(t_MouseQueue.size(), 1u);
    EXPECT_EQ(t_MouseQueue.back().ClickX, 5);
    EXPECT_EQ(t_MouseQueue.back().ClickY, 7);
    EXPECT_EQ(t_MouseQueue.back().Index, 2);
    t_MouseQueue.clear();
}

// The user's close hides the window and keeps it; a close that Qt makes itself (at quit) goes through.
TEST_F(ViewEvents, TheCloseBoxHidesAndOnlyAUserCloseIsStopped) {
    QMainWindow* window = t_Delegate->window(win);
    window->show();
    t_WindowTable[win].Visible = true;
    QCloseEvent user;
    QSpontaneKeyEvent::setSpontaneous(&user);
    QApplication::instance()->notify(window, &user);
    EXPECT_FALSE(user.isAccepted());
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(t_WindowTable[win].Visible.load());
    EXPECT_TRUE(t_WindowTable[win].Initialized.load());

    window->show();
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(window->isVisible());
}

} // namespace

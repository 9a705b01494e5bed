// The Qt host: the delegate with the windows and views the program works on, and the port that lets the
// core reach them by window number.
#pragma once

#include <QKeyEvent>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMouseEvent>
#include <QObject>
#include <QPlainTextEdit>
#include <QWidget>

#include "shell/platform.h"
#include "shell/scaling.h"

class QApplication;

// The drawing surface of display window 0 to 7; the index never changes.
class DisplayView : public QWidget {
  public:
    DisplayView(int index, QWidget* parent);
    const int Index;

    // The last frame composed, shown again while the window gives none (hidden, or being made anew).
    t_Image Frame;

    // What the program set: the view's place in the window's content (y downward), the content's size,
    // and the border colour around the view. The widget itself fills the content, whatever size the
    // desktop gives it, and shows all of this scaled to fit, on black.
    QRect LogicalView{16, 16, 640, 400};
    QSize LogicalContent{672, 432};
    QColor Border{Qt::black};
    t_Placement placement() const;
    // Frames painted so far; a measurement of key to screen watches it.
    int Paints = 0;

    // A refresh request: draws unless the graphic block still holds what the frame on show was made
    // from, so that a static screen costs one comparison instead of a frame and a paint.
    void refresh();

  private:
    // The bytes of the block, and where they lay, when the frame on show was composed; empty when the
    // frame on show is not known to match the block.
    std::vector<uint8_t> Source;
    Int SourceStart = -1, SourceDepth = 0, SourceWidth = 0, SourceHeight = 0;
    bool sourceunchanged() const;
    void takesource();

  protected:
    void paintEvent(QPaintEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    // Keys and clicks: the fields are copied out and handed to the core; every key is taken here, so
    // none travels on to the window.
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
};

// What the interface description of the application holds: views, side windows, menus. Everything is
// created hidden; a missing outlet stays nullptr.
class AppDelegate : public QObject {
  public:
    AppDelegate();
    // The close box of every window: it hides the window instead of closing it.
    bool eventFilter(QObject* watched, QEvent* event) override;

    DisplayView* t_View00 = nullptr;
    DisplayView* t_View01 = nullptr;
    DisplayView* t_View02 = nullptr;
    DisplayView* t_View03 = nullptr;
    DisplayView* t_View04 = nullptr;
    DisplayView* t_View05 = nullptr;
    DisplayView* t_View06 = nullptr;
    DisplayView* t_View07 = nullptr;
    QMainWindow* VirtualPrinterWindow = nullptr;
    QPlainTextEdit* VirtualPrinterScrollView = nullptr;
    QPlainTextEdit* VirtualPrinterTextView = nullptr;
    QLabel* VirtualPrinterRuler = nullptr;
    QMainWindow* SystemConsoleWindow = nullptr;
    QPlainTextEdit* SystemConsoleScrollView = nullptr;
    QPlainTextEdit* SystemConsoleTextView = nullptr;
    QLabel* SystemConsoleRuler = nullptr;
    QMainWindow* PasteboardWindow = nullptr;
    QPlainTextEdit* PasteboardScrollView = nullptr;
    QPlainTextEdit* PasteboardTextView = nullptr;
    QMainWindow* MainWindow = nullptr;
    QMainWindow* PreferencesWindow = nullptr;

    // One set of menus, shown in the bar of every window.
    QMenu* ApplicationMenu = nullptr;
    QMenu* EditMenu = nullptr;
    QMenu* WindowMenu = nullptr;
    QMenu* GameMenu = nullptr;
    QAction* FullScreenAction = nullptr;
    void makemenus();
    std::vector<QMenu*> menus() const;

    DisplayView* view(int index) const;
    QMainWindow* window(int number) const;
    QPlainTextEdit* textView(int number) const;
    QLabel* ruler(int number) const;
};

// Kept from start-up to process end.
extern AppDelegate* t_Delegate;

// The Qt implementation of the port; t_Delegate must exist. Call on the main thread.
t_PlatformPort qtplatformport();
// Its menus and file panels.
void qtmenuport(t_PlatformPort& port);
// The menu "Spiel" with the invitation to play with phones (phoneserver.cpp).
QMenu* makegamemenu();
// Keeps a tap of Alt out of the menu bar.
void installmenustyle(QApplication& application);

// The Quit command: log, the program's handler, flush, end the process. No destructors run, since the
// program thread may still be inside them.
[[noreturn]] void quitapplication();
// SIGTERM, SIGINT and SIGHUP end the process the same way, from the event loop.
void installquitsignals();
// Under a Wayland session window positions can be neither set nor read; use the X11 platform there.
void choosexcbonwayland();
// What the main nib and the application object do before the launch: the delegate with its windows, the
// port, the quit paths. Ending the program thread or hiding every window does not end the process.
void prepareapplication(QApplication& application);

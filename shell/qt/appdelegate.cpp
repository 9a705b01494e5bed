// The Qt delegate: the display windows with their views, which draw the window's picture and hand keys
// and clicks to the core, and the side windows (pasteboard, printer, console).
#include "shell/qt/appdelegate.h"

#include "shell/events.h"
#include "shell/keymap.h"
#include "shell/menus.h"

#include <QAction>
#include <QFontDatabase>
#include <QKeySequence>
#include <QMenuBar>
#include <QPaintEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <cstring>

AppDelegate* t_Delegate = nullptr;

namespace {

// Content sizes of the side windows, without the menu bar.
constexpr int pasteboardWidth = 480, pasteboardHeight = 320;
constexpr int sideWidth = 640, sideHeight = 480;

// A column ruler for the printer and the console: a mark every 5 columns, the tens counted.
QString rulertext() {
    QString text;
    for (int column = 1; column <= 132; ++column) {
        if (column % 10 == 0)
            text += QString::number(column / 10 % 10);
        else
            text += column % 5 == 0 ? QChar('+') : QChar('.');
    }
    return text;
}

QMainWindow* makewindow(const QString& title, const std::vector<QMenu*>& menus) {
    auto* window = new QMainWindow;
    window->setWindowTitle(title);
    window->menuBar()->setNativeMenuBar(false);
    for (QMenu* menu : menus) window->menuBar()->addMenu(menu);
    auto* content = new QWidget(window);
    content->setAutoFillBackground(true);
    window->setCentralWidget(content);
    return window;
}

int menuheight(QMainWindow* window) {
    return window->menuBar()->sizeHint().height();
}

QPlainTextEdit* maketextview(QWidget* parent) {
    auto* text = new QPlainTextEdit(parent);
    text->setReadOnly(true);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(12);
    text->setFont(font);
    return text;
}

// Pasteboard: the text view 10 points from every edge of the content, which the launch relies on when
// it measures the bar above the content.
QMainWindow* makepasteboard(const std::vector<QMenu*>& menu, QPlainTextEdit*& textView) {
    QMainWindow* window = makewindow("Zwischenablage", menu);
    const int bar = menuheight(window);
    window->resize(pasteboardWidth, pasteboardHeight + bar);
    textView = maketextview(window->centralWidget());
    textView->setGeometry(10, 10, pasteboardWidth - 20, pasteboardHeight - 20);
    return window;
}

// Printer and console: the text view 20 points in, with the ruler above it.
QMainWindow* makesidewindow(const QString& title, const std::vector<QMenu*>& menu, QPlainTextEdit*& textView,
                            QLabel*& ruler) {
    QMainWindow* window = makewindow(title, menu);
    window->resize(sideWidth, sideHeight + menuheight(window));
    const int textHeight = sideHeight - 40 - 15;
    textView = maketextview(window->centralWidget());
    textView->setGeometry(20, sideHeight - 20 - textHeight, sideWidth - 40, textHeight);
    ruler = new QLabel(rulertext(), window->centralWidget());
    ruler->setFont(textView->font());
    ruler->setGeometry(24, sideHeight - 20 - textHeight - 21, sideWidth - 48, 19);
    return window;
}

} // namespace

DisplayView::DisplayView(int index, QWidget* parent) : QWidget(parent), Index(index) {
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAttribute(Qt::WA_NoSystemBackground);
}

namespace {

// Bytes of the block that make a frame, or 0 when the record names no readable block.
size_t framebytes(const t_WindowShape& w) {
    const Int pixels =
        w.Width > 0 && w.Height > 0 && w.Width <= 0x10000 && w.Height <= 0x10000 ? w.Width * w.Height : 0;
    Int bytes = 0;
    switch (w.BitDepth) {
    case 1:
        bytes = (pixels + 7) / 8;
        break;
    case 4:
        bytes = (pixels + 1) / 2;
        break;
    case 8:
    case 16:
    case 24:
    case 32:
        bytes = pixels * (w.BitDepth / 8);
        break;
    }
    if (bytes <= 0 || w.MemoryStart < 0 || w.MemoryStart + bytes > static_cast<Int>(t_VideoMemory.size()))
        return 0;
    return static_cast<size_t>(bytes);
}

// The two reads of a graphic block while the program thread may be plotting into it: a frame is made from
// the memory as it stands, as a video chip reads its memory (tools/tsan.supp names them).
__attribute__((noinline)) bool sameframesource(const std::vector<uint8_t>& source, Int start) {
    return std::memcmp(source.data(), t_VideoMemory.data() + start, source.size()) == 0;
}

__attribute__((noinline)) void copyframesource(std::vector<uint8_t>& source, Int start) {
    std::memcpy(source.data(), t_VideoMemory.data() + start, source.size());
}

} // namespace

bool DisplayView::sourceunchanged() const {
    if (Source.empty() || !t_MemoryInitialized.load(std::memory_order_acquire)) return false;
    const t_Window& record = t_WindowTable[Index];
    if (!record.Initialized.load() || !record.Visible.load()) return false;
    const t_WindowShape w = t_WindowShapeOf(static_cast<uint8_t>(Index));
    if (w.MemoryStart != SourceStart || w.BitDepth != SourceDepth || w.Width != SourceWidth ||
        w.Height != SourceHeight || framebytes(w) != Source.size())
        return false;
    return sameframesource(Source, SourceStart);
}

// Taken before composing: a write that falls between the two makes the next comparison fail, never
// the other way round.
void DisplayView::takesource() {
    const t_WindowShape w = t_WindowShapeOf(static_cast<uint8_t>(Index));
    const size_t bytes = framebytes(w);
    SourceStart = w.MemoryStart;
    SourceDepth = w.BitDepth;
    SourceWidth = w.Width;
    SourceHeight = w.Height;
    Source.resize(bytes);
    if (bytes > 0) copyframesource(Source, SourceStart);
}

void DisplayView::refresh() {
    const bool changed = !sourceunchanged();
    t_WindowFrameShown(static_cast<uint8_t>(Index), changed);
    if (changed) update();
}

void DisplayView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (t_MemoryInitialized.load(std::memory_order_acquire)) {
        // Window 0 tells the refresh that a frame is being composed.
        t_Window& record = t_WindowTable[Index];
        if (Index == 0) record.VerticalBlank.store(false);
        takesource();
        if (!t_WindowImage(static_cast<uint8_t>(Index), Frame)) Source.clear();
        if (Index == 0) record.VerticalBlank.store(true);
    }
    const int width = static_cast<int>(Frame.Width), height = static_cast<int>(Frame.Height);
    const t_Placement p = placement();
    painter.fillRect(rect(), Qt::black);
    painter.fillRect(QRectF(p.X, p.Y, p.Width, p.Height), Border);
    if (width > 0 && height > 0) {
        // The words are 0xAARRGGBB, which is how this format lies in memory: no copy, no conversion.
        const QImage image(reinterpret_cast<const uchar*>(Frame.Pixels.data()), width, height, width * 4,
                           QImage::Format_RGB32);
        // Whole device pixels per picture pixel are repeated, so text stays sharp; other scales blend.
        painter.setRenderHint(QPainter::SmoothPixmapTransform, !p.Sharp);
        painter.drawImage(QRectF(p.X + LogicalView.x() * p.Scale, p.Y + LogicalView.y() * p.Scale,
                                 width * p.Scale, height * p.Scale),
                          image);
    }
    ++Paints;
}

t_Placement DisplayView::placement() const {
    return placecontent(LogicalContent.width(), LogicalContent.height(), width(), height(),
                        devicePixelRatioF());
}

// Tab and Shift-Tab belong to the program, not to focus traversal.
bool DisplayView::focusNextPrevChild(bool) {
    return false;
}

static_assert(qtkey::Escape == Qt::Key_Escape && qtkey::Backtab == Qt::Key_Backtab &&
              qtkey::Clear == Qt::Key_Clear && qtkey::PageDown == Qt::Key_PageDown &&
              qtkey::ScrollLock == Qt::Key_ScrollLock && qtkey::F1 == Qt::Key_F1 &&
              qtkey::F35 == Qt::Key_F35 && qtkey::Help == Qt::Key_Help &&
              qtkey::DirectionR == Qt::Key_Direction_R && qtkey::AltGr == Qt::Key_AltGr &&
              qtkey::ModeSwitch == Qt::Key_Mode_switch && qtkey::DeadGrave == Qt::Key_Dead_Grave &&
              qtkey::DeadAcute == Qt::Key_Dead_Acute && qtkey::DeadCircumflex == Qt::Key_Dead_Circumflex &&
              qtkey::DeadTilde == Qt::Key_Dead_Tilde && qtkey::DeadDiaeresis == Qt::Key_Dead_Diaeresis &&
              qtkey::DeadLast == Qt::Key_Dead_Longsolidusoverlay);
static_assert(qtkey::ShiftModifier == Qt::ShiftModifier && qtkey::ControlModifier == Qt::ControlModifier &&
              qtkey::AltModifier == Qt::AltModifier && qtkey::MetaModifier == Qt::MetaModifier &&
              qtkey::KeypadModifier == Qt::KeypadModifier &&
              qtkey::GroupSwitchModifier == Qt::GroupSwitchModifier);

namespace {

// One keyboard for all views: an accent typed in one window waits for the next key in any.
t_KeyComposition keyComposition;

t_LinuxKey linuxkey(const QKeyEvent* event, bool release) {
    t_LinuxKey key;
    key.ScanCode = event->nativeScanCode();
    key.Key = event->key();
    key.Text = event->text().toStdString();
    key.Modifiers = static_cast<uint32_t>(event->modifiers().toInt());
    key.NativeModifiers = event->nativeModifiers();
    key.AutoRepeat = event->isAutoRepeat();
    key.Release = release;
    return key;
}

// A click has no native modifiers: Caps Lock is taken as the keys last left it.
uint64_t mouseflags(Qt::KeyboardModifiers modifiers) {
    uint64_t flags = t_ModifierState.CapsLock ? t_ModCapsLock : 0;
    if (modifiers & Qt::ShiftModifier) flags |= t_ModShift;
    if (modifiers & Qt::ControlModifier) flags |= t_ModControl;
    if ((modifiers & Qt::AltModifier) && !(modifiers & Qt::GroupSwitchModifier)) flags |= t_ModOption;
    if (modifiers & Qt::MetaModifier) flags |= t_ModCommand;
    return flags;
}

} // namespace

void DisplayView::keyPressEvent(QKeyEvent* event) {
    event->accept();
    const t_TranslatedKey key = translatekey(linuxkey(event, false), keyComposition);
    if (key.Kind == t_KeyKind::Flags)
        viewFlagsChanged(Index, key.Event.ModifierFlags);
    else if (key.Kind == t_KeyKind::Key)
        viewKeyDown(Index, key.Event);
}

// X11 repeats a held key as release and press pairs; only the real release counts.
void DisplayView::keyReleaseEvent(QKeyEvent* event) {
    event->accept();
    if (event->isAutoRepeat()) return;
    const t_TranslatedKey key = translatekey(linuxkey(event, true), keyComposition);
    if (key.Kind == t_KeyKind::Flags)
        viewFlagsChanged(Index, key.Event.ModifierFlags);
    else
        viewKeyUp(Index);
}

// The place in the window's content, y upward from its bottom edge, taken from the record's border and
// height (which put the view where it is), so that it holds before the window has been laid out.
void DisplayView::mousePressEvent(QMouseEvent* event) {
    event->accept();
    if (event->button() != Qt::LeftButton && event->button() != Qt::RightButton) return;
    const t_WindowShape w = t_WindowShapeOf(static_cast<uint8_t>(Index));
    // Back from the scaled picture to its own pixels.
    const t_Placement p = placement();
    const QPointF at(topicture(event->position().x(), p.X + LogicalView.x() * p.Scale, p.Scale),
                     topicture(event->position().y(), p.Y + LogicalView.y() * p.Scale, p.Scale));
    t_PlatformMouse mouse;
    mouse.Buttons = static_cast<Int>(event->buttons().toInt() & 3);
    mouse.ModifierFlags = mouseflags(event->modifiers());
    mouse.X = static_cast<double>(w.BorderWidth) + at.x();
    mouse.Y = static_cast<double>(w.Height + w.BorderHeight) - at.y();
    viewMouseDown(Index, mouse, event->button() == Qt::RightButton);
}

void DisplayView::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
    if (event->button() == Qt::LeftButton || event->button() == Qt::RightButton) viewMouseUp(Index);
}

// Only a close the user asks for is turned into hiding; Qt's own closing at quit goes through. A side
// window's resize lays out its text view and ruler.
bool AppDelegate::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize &&
        (watched == PasteboardWindow || watched == VirtualPrinterWindow || watched == SystemConsoleWindow)) {
        t_WindowDidResize();
        return false;
    }
    if (event->type() != QEvent::Close || !event->spontaneous()) return false;
    auto* widget = qobject_cast<QWidget*>(watched);
    if (!widget) return false;
    event->ignore();
    t_MouseEventPostCloseBoxClick(t_WindowIndexOf(static_cast<const void*>(widget)));
    return true;
}

AppDelegate::AppDelegate() {
    ApplicationMenu = new QMenu("Seelenorakel");
    QAction* quit = ApplicationMenu->addAction("Seelenorakel beenden");
    quit->setMenuRole(QAction::QuitRole);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Q));
    QObject::connect(quit, &QAction::triggered, [] { quitapplication(); });
    makemenus();

    DisplayView** views[8] = {&t_View00, &t_View01, &t_View02, &t_View03,
                              &t_View04, &t_View05, &t_View06, &t_View07};
    for (int n = 0; n < 8; ++n) {
        QMainWindow* window = makewindow("Seelenorakel", menus());
        const int bar = menuheight(window);
        window->resize(640 + 32, 400 + 32 + bar);
        *views[n] = new DisplayView(n, window->centralWidget());
        auto* layout = new QVBoxLayout(window->centralWidget());
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(*views[n]);
        // F11 also without the bar, which fullscreen hides.
        window->addAction(FullScreenAction);
        window->move(40 + 24 * n, 40 + 24 * n);
    }
    PasteboardWindow = makepasteboard(menus(), PasteboardTextView);
    PasteboardScrollView = PasteboardTextView;
    VirtualPrinterWindow = makesidewindow("Drucker", menus(), VirtualPrinterTextView, VirtualPrinterRuler);
    VirtualPrinterScrollView = VirtualPrinterTextView;
    SystemConsoleWindow = makesidewindow("Systemkonsole", menus(), SystemConsoleTextView, SystemConsoleRuler);
    SystemConsoleScrollView = SystemConsoleTextView;
    PreferencesWindow = makewindow("Einstellungen", menus());
    PreferencesWindow->resize(400, 300 + menuheight(PreferencesWindow));
    MainWindow = makewindow("Seelenorakel", menus());
    MainWindow->resize(480, 320 + menuheight(MainWindow));
    for (int n = 0; n <= 12; ++n)
        if (QMainWindow* w = window(n)) w->installEventFilter(this);
}

DisplayView* AppDelegate::view(int index) const {
    DisplayView* const views[8] = {t_View00, t_View01, t_View02, t_View03,
                                   t_View04, t_View05, t_View06, t_View07};
    return index >= 0 && index < 8 ? views[index] : nullptr;
}

QMainWindow* AppDelegate::window(int number) const {
    if (number >= 0 && number < 8) {
        DisplayView* v = view(number);
        return v ? qobject_cast<QMainWindow*>(v->window()) : nullptr;
    }
    switch (number) {
    case 8:
        return PasteboardWindow;
    case 9:
        return VirtualPrinterWindow;
    case 10:
        return SystemConsoleWindow;
    case 11:
        return PreferencesWindow;
    case 12:
        return MainWindow;
    default:
        return nullptr;
    }
}

QPlainTextEdit* AppDelegate::textView(int number) const {
    switch (number) {
    case 8:
        return PasteboardTextView;
    case 9:
        return VirtualPrinterTextView;
    case 10:
        return SystemConsoleTextView;
    default:
        return nullptr;
    }
}

QLabel* AppDelegate::ruler(int number) const {
    switch (number) {
    case 9:
        return VirtualPrinterRuler;
    case 10:
        return SystemConsoleRuler;
    default:
        return nullptr;
    }
}

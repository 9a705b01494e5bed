// The menus every window shows, what the core reads of them, and the file panels.
#include "shell/menus.h"
#include "shell/qt/appdelegate.h"

#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeySequence>
#include <QMainWindow>
#include <QMenuBar>
#include <QProxyStyle>

#include <cmath>

namespace {

// Menu shortcuts take Ctrl with Shift: plain Ctrl keys belong to the program (Ctrl-S pauses, Ctrl-V
// pastes into a form field). The items report Ctrl as the Command key of the key tables.
struct Item {
    const char* Title;
    int Tag;
    int Key; // 0: no shortcut
};

const Item editItems[] = {
    {"Text kopieren", 111, Qt::Key_C}, {"Bild kopieren", 110, Qt::Key_B},
    {"Einfügen", 113, Qt::Key_V},      {nullptr, 0, 0},
    {"Drucker leeren", 112, 0},        {"Konsole leeren", 114, 0},
};

const Item windowItems[] = {
    {"Alle Fenster ausblenden", 200, 0},
    {"Vorderes Fenster ausblenden", 201, Qt::Key_W},
    {nullptr, 0, 0},
    {"Bildschirm 0 zeigen", 213, 0},
    {"Bildschirm 0 ausblenden", 214, 0},
    {"Bildschirm 1 zeigen", 215, 0},
    {"Bildschirm 1 ausblenden", 216, 0},
    {"Bildschirm 2 zeigen", 217, 0},
    {"Bildschirm 2 ausblenden", 218, 0},
    {"Bildschirm 3 zeigen", 219, 0},
    {"Bildschirm 3 ausblenden", 220, 0},
    {"Bildschirm 4 zeigen", 221, 0},
    {"Bildschirm 4 ausblenden", 222, 0},
    {"Bildschirm 5 zeigen", 223, 0},
    {"Bildschirm 5 ausblenden", 224, 0},
    {"Bildschirm 6 zeigen", 225, 0},
    {"Bildschirm 6 ausblenden", 226, 0},
    {"Bildschirm 7 zeigen", 227, 0},
    {"Bildschirm 7 ausblenden", 228, 0},
    {nullptr, 0, 0},
    {"Zwischenablage zeigen", 211, 0},
    {"Zwischenablage ausblenden", 212, 0},
    {"Drucker zeigen", 209, 0},
    {"Drucker ausblenden", 210, 0},
    {"Systemkonsole zeigen", 229, 0},
    {"Systemkonsole ausblenden", 230, 0},
    {"Hauptfenster zeigen", 205, 0},
    {"Hauptfenster ausblenden", 206, 0},
    {"Einstellungen zeigen", 207, 0},
    {"Einstellungen ausblenden", 208, 0},
};

t_MenuItem iteminfo(const QAction* action) {
    t_MenuItem item;
    const QVariant menu = action->property("menuTitle");
    item.InMenu = menu.isValid();
    item.MenuTitle = menu.toString().toStdString();
    item.Title = action->text().toStdString();
    item.Tag = action->data().toInt();
    const QKeySequence shortcut = action->shortcut();
    if (!shortcut.isEmpty()) {
        const QKeyCombination combination = shortcut[0];
        item.KeyChar = QKeySequence(combination.key()).toString().toLower().toStdString();
        const Qt::KeyboardModifiers mods = combination.keyboardModifiers();
        if (mods & Qt::ControlModifier) item.KeyMods |= 1u << 20;
        if (mods & Qt::ShiftModifier) item.KeyMods |= 1u << 17;
        if (mods & Qt::AltModifier) item.KeyMods |= 1u << 19;
    }
    return item;
}

QMenu* makemenu(const char* title, const Item* items, size_t count) {
    auto* menu = new QMenu(title);
    for (size_t i = 0; i < count; ++i) {
        if (!items[i].Title) {
            menu->addSeparator();
            continue;
        }
        QAction* action = menu->addAction(items[i].Title);
        action->setData(items[i].Tag);
        action->setProperty("menuTitle", QString(title));
        if (items[i].Key) action->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | items[i].Key));
        QObject::connect(action, &QAction::triggered, [action] { t_MenuEventHandler(iteminfo(action)); });
    }
    return menu;
}

// A tap of Alt must not take the keys into the menu bar: Alt is the Option key of the program.
class NoAltMenuStyle : public QProxyStyle {
  public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returnData) const override {
        if (hint == SH_MenuBar_AltKeyNavigation) return 0;
        return QProxyStyle::styleHint(hint, option, widget, returnData);
    }
};

QMenu* menunamed(const std::string& title) {
    if (!t_Delegate) return nullptr;
    for (QMenu* menu : t_Delegate->menus())
        if (menu && menu->title().toStdString() == title) return menu;
    return nullptr;
}

std::vector<std::string> runpanel(const t_PanelRequest& request) {
    QFileDialog dialog;
    // Qt's own dialog: the desktop's dialogs ignore the labels and may not be modal.
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setWindowTitle(QString::fromStdString(
        request.Message.empty() ? request.Title : request.Title + " – " + request.Message));
    dialog.setLabelText(QFileDialog::Accept, QString::fromStdString(request.Prompt));
    if (!request.FileTypes.empty()) {
        QStringList patterns;
        for (const std::string& type : request.FileTypes) patterns << "*." + QString::fromStdString(type);
        QStringList filters{"(" + patterns.join(' ') + ")"};
        // Other types stay allowed in a save panel: the filter proposes, the name decides. An open panel
        // offers only the types asked for.
        if (request.Save) filters << "(*)";
        dialog.setNameFilters(filters);
    }
    if (request.Save) {
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setLabelText(QFileDialog::FileName, QString::fromStdString(request.NameLabel));
        dialog.selectFile(QString::fromStdString(request.FileName));
    } else if (request.ChooseFolders) {
        dialog.setFileMode(QFileDialog::Directory);
    } else {
        dialog.setFileMode(request.Multiple ? QFileDialog::ExistingFiles : QFileDialog::ExistingFile);
    }
    std::vector<std::string> paths;
    if (dialog.exec() != QDialog::Accepted) return paths;
    for (const QString& file : dialog.selectedFiles()) {
        std::string path = file.toStdString();
        if (QFileInfo(file).isDir() && !path.empty() && path.back() != '/') path += '/';
        paths.push_back(path);
    }
    return paths;
}

// The display window in front, for the desktop's own items: zoom and fullscreen.
DisplayView* frontview() {
    for (int n = 0; n < 8; ++n)
        if (QApplication::activeWindow() && t_Delegate->window(n) == QApplication::activeWindow())
            return t_Delegate->view(n);
    return nullptr;
}

void zoom(int direction) {
    DisplayView* view = frontview();
    QMainWindow* window = view ? qobject_cast<QMainWindow*>(view->window()) : nullptr;
    if (!window || window->isFullScreen()) return;
    const double scale = direction == 0 ? 1 : zoomstep(view->placement().Scale, direction);
    const int bar = window->menuBar()->isVisible() ? window->menuBar()->height() : 0;
    window->resize(static_cast<int>(std::lround(view->LogicalContent.width() * scale)),
                   static_cast<int>(std::lround(view->LogicalContent.height() * scale)) + bar);
}

// Fullscreen shows the picture alone, as large as it fits, on black; F11 also works without the bar.
void togglefullscreen() {
    DisplayView* view = frontview();
    QMainWindow* window = view ? qobject_cast<QMainWindow*>(view->window()) : nullptr;
    if (!window) return;
    if (window->isFullScreen()) {
        window->menuBar()->show();
        window->showNormal();
    } else {
        window->menuBar()->hide();
        window->showFullScreen();
    }
}

} // namespace

void AppDelegate::makemenus() {
    EditMenu = makemenu("Bearbeiten", editItems, std::size(editItems));
    WindowMenu = makemenu("Fenster", windowItems, std::size(windowItems));
    // The desktop's own: no tag, nothing the program is told of.
    WindowMenu->addSeparator();
    FullScreenAction = WindowMenu->addAction("Vollbild", QKeySequence(Qt::Key_F11));
    QObject::connect(FullScreenAction, &QAction::triggered, [] { togglefullscreen(); });
    const struct {
        const char* title;
        QList<QKeySequence> keys;
        int direction;
    } zooms[] = {
        {"Originalgröße", {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_0)}, 0},
        {"Größer",
         {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Plus),
          QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Asterisk),
          QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Equal)},
         1},
        {"Kleiner",
         {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Minus),
          QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Underscore)},
         -1},
    };
    for (const auto& z : zooms) {
        QAction* action = WindowMenu->addAction(z.title);
        action->setShortcuts(z.keys);
        QObject::connect(action, &QAction::triggered, [direction = z.direction] { zoom(direction); });
    }
    GameMenu = makegamemenu();
}

std::vector<QMenu*> AppDelegate::menus() const {
    return {ApplicationMenu, EditMenu, WindowMenu, GameMenu};
}

void qtmenuport(t_PlatformPort& port) {
    port.MenuItemCount = [](const std::string& title) -> Int {
        QMenu* menu = menunamed(title);
        return menu ? static_cast<Int>(menu->actions().size()) : -1;
    };
    port.MenuItemTitleAt = [](const std::string& title, Int position) {
        QMenu* menu = menunamed(title);
        if (!menu || position < 0 || position >= menu->actions().size()) return std::string();
        return menu->actions()[static_cast<qsizetype>(position)]->text().toStdString();
    };
    port.MenuRemoveItemAt = [](const std::string& title, Int position) {
        QMenu* menu = menunamed(title);
        if (menu && position >= 0 && position < menu->actions().size())
            menu->removeAction(menu->actions()[static_cast<qsizetype>(position)]);
    };
    port.RunPanel = runpanel;
}

void installmenustyle(QApplication& application) {
    application.setStyle(new NoAltMenuStyle);
}

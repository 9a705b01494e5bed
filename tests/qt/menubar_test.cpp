// The menu bar of the real program: copying the screen, showing and hiding windows, the pasteboard
// window, the shortcuts and the file panels.
#include "harness.h"
#include "shell/menus.h"
#include "shell/qt/appdelegate.h"

#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

TEST(MenuBar, CopyShowAndHideThroughTheMenus) {
    harness::Bundle bundle;
    harness::Game game(bundle);
    ASSERT_TRUE(game.waitforkey()) << game.log();

    // Copy text: the screen with the header's rule as plain bars and the desktop's line ends.
    game.ask("menu 111");
    const std::string header = "Das Seelenorakel" + std::string(32, ' ') + "Partnersuche für die ganze Runde";
    std::string screen = game.screen();
    screen = screen.substr(screen.find('\n', screen.find('\n') + 1));
    EXPECT_EQ(game.clipboard(), header + "\n" + std::string(80, '|') + screen);
    // Copy picture: the window's picture.
    game.ask("menu 110");
    EXPECT_EQ(game.ask("image"), "1280x800");

    // The pasteboard window shows what the clipboard held when it was shown.
    game.setclipboard("Zeile 1\nZeile 2");
    game.ask("menu 211");
    EXPECT_EQ(harness::unhex(game.ask("text 8")), "Zeile 1\nZeile 2");
    EXPECT_EQ(game.ask("visible 8"), "1");

    // Hide all, then window 0 back; a window that was never made logs and stays away.
    game.ask("menu 200");
    EXPECT_EQ(game.ask("visible 0") + game.ask("visible 8"), "00");
    game.ask("menu 213");
    EXPECT_EQ(game.ask("visible 0"), "1");
    game.ask("menu 217");
    EXPECT_TRUE(game.logshows("t_MenuEventHandler: Window #2 not initialized.")) << game.log();
    EXPECT_EQ(game.ask("visible 2"), "0");
    // The program still reads its keys.
    ASSERT_TRUE(game.type("l"));
    EXPECT_NE(game.screen().find("Es sind keine Teilnehmer vorhanden."), std::string::npos);
}

// Plain Ctrl keys belong to the program: no item may take one.
TEST(MenuBar, ShortcutsLeavePlainControlKeysToTheProgram) {
    int shortcuts = 0;
    for (QMenu* menu : t_Delegate->menus())
        for (QAction* action : menu->actions()) {
            if (action->shortcut().isEmpty()) continue;
            ++shortcuts;
            const Qt::KeyboardModifiers mods = action->shortcut()[0].keyboardModifiers();
            EXPECT_TRUE(!(mods & Qt::ControlModifier) || (mods & Qt::ShiftModifier))
                << action->text().toStdString();
        }
    EXPECT_GE(shortcuts, 4);
}

// An open panel offers only the types asked for; a save panel offers every other file as well.
TEST(MenuBar, OnlyTheSavePanelOffersAllFiles) {
    for (const bool save : {false, true}) {
        QStringList seen;
        QTimer::singleShot(0, [&] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (dialog) seen = dialog->nameFilters(), dialog->reject();
        });
        save ? void(t_SavePanelRun("a.txt", "", "", "txt,text"))
             : void(t_OpenPanelRun("", "", "txt,text", false, true, false));
        EXPECT_EQ(seen.join(' ').toStdString(), save ? "(*.txt *.text) (*)" : "(*.txt *.text)");
    }
}

} // namespace

// The data file of an evening: held against a second copy of the game, loaded once, and rewritten after
// each participant. Nothing in it is ever lost: what didn't load cleanly, what someone else wrote into it
// meanwhile, and a file that can't be read at all are kept or left alone rather than saved over.
#include "application/application.h"

#include "display/display.h"
#include "shell/shell.h"
#include "store/store.h"

#include <cerrno>

namespace {

// The file as this program last loaded or wrote it.
FileStamp Known;
// Where the saves go: the data file, or a file beside it when the data file can't be read.
std::string SaveTarget;
// The loaded file didn't load cleanly, and its bytes are not yet kept.
bool KeepBeforeSave = false;
// What the window's title says behind the program's name.
std::string TitleNote;
bool LastSaveFailed = false;

void showtitle() {
    t_WindowTitle(SeelenorakelWindow(), defaultwindowtitle(true) + TitleNote +
                                            (LastSaveFailed ? " – Letztes Speichern fehlgeschlagen!" : ""));
}

// Whether the target may be written: it is still what was last loaded or written, or its bytes are kept.
bool safetowrite(const std::string& path) {
    if (!KeepBeforeSave && Known.Size < 0 && !fileexists(path)) return true;
    const FileRead now = readfile(path);
    if (now.Error == ENOENT) {
        if (Known.Size >= 0)
            debuglog("SeelenorakelInput: The data file " + path + " is gone; it is written anew.");
        return true;
    }
    if (now.Error != 0) {
        debuglog("SeelenorakelInput: The data file " + path + " can't be read now, so it is not saved over.");
        return false;
    }
    if (now.Stamp == Known && !KeepBeforeSave) return true;
    const bool outside = now.Stamp != Known;
    const std::string copy = now.Bytes.empty() ? path : keepcopy(path, now.Bytes);
    if (copy.empty()) {
        debuglog("SeelenorakelInput: The bytes of " + path + " could not be kept, so it is not saved over.");
        return false;
    }
    if (!now.Bytes.empty())
        debuglog(std::string("SeelenorakelInput: The data file ") +
                 (outside ? "was changed by another program" : "did not load cleanly") +
                 "; its bytes were kept in " + copy + ".");
    Known = now.Stamp;
    KeepBeforeSave = false;
    return true;
}

} // namespace

const std::string& datafilepath() {
    if (DataFilePath.empty()) DataFilePath = pathfolder(bundlepath()) + DataFileName;
    return DataFilePath;
}

bool SeelenorakelOpenDataFile() {
    const std::string& path = datafilepath();
    debuglog("SeelenorakelLoad: Data file " + path + ".");
    if (holdfilelock(path) == 0) {
        debuglog("SeelenorakelLoad: Another copy of the game runs on " + path + "; this one ends.");
        return false;
    }
    // Nobody at the keyboard reads the log, but whoever installed the program may.
    const std::string folder = pathfolder(path);
    if (!folderwritable(folder))
        debuglog("SeelenorakelLoad: The folder " + folder +
                 " can't be written, so no participant will be saved.");
    removeleftovers(path);
    FileRead read;
    const bool clean = d_AppendDatabase(path, &read);
    Known = read.Stamp;
    SaveTarget = path;
    if (read.Error != 0 && read.Error != ENOENT) {
        // Only a file that isn't there means an empty store; this one may hold a whole evening.
        SaveTarget = stampedname(path, ".txt");
        TitleNote = " – Datendatei nicht lesbar! Gespeichert wird in " + pathfilename(SaveTarget);
        Known = {};
        debuglog(
            "SeelenorakelLoad: The data file can't be read, so it is never saved over; participants go to " +
            SaveTarget + ".");
        showtitle();
        return true;
    }
    // A file that didn't load cleanly (written by an editor, say) would be overwritten with what was read
    // of it at the next save: its bytes are kept unchanged beside it first.
    KeepBeforeSave = !read.Bytes.empty() && (!clean || d_RecordsInTable(ParticipantTable) == 0);
    if (KeepBeforeSave) {
        const std::string copy = keepcopy(path, read.Bytes);
        if (!copy.empty()) {
            KeepBeforeSave = false;
            debuglog("SeelenorakelLoad: The data file did not load cleanly; its bytes were kept in " + copy +
                     ".");
        }
    }
    return true;
}

bool SeelenorakelSave() {
    const std::string text = d_DumpDatabase(true, true, false);
    const std::string& target = SaveTarget.empty() ? datafilepath() : SaveTarget;
    const bool failed = !safetowrite(target) || setstringtofile(target, text, &Known) != 0;
    // Nobody at the keyboard reads the log, so a failed save shows in the window's title until a save
    // succeeds.
    if (failed != LastSaveFailed) {
        LastSaveFailed = failed;
        showtitle();
    }
    return !failed;
}

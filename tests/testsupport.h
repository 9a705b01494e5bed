// Small helpers that many tests share.
#pragma once

#include "application/application.h"
#include "shell/events.h"
#include "shell/shell.h"
#include "store/store.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <unistd.h>
#include <utility>
#include <vector>

namespace testsupport {

// Collects the log lines of all threads, less those that start with skip; they outlive it for late loggers.
struct LogCapture {
    struct Shared {
        std::mutex mutex;
        std::vector<std::string> lines;
    };
    std::shared_ptr<Shared> shared = std::make_shared<Shared>();
    explicit LogCapture(std::string skip = {}) {
        debuglogsink([s = shared, skip](std::string_view line) {
            if (!skip.empty() && line.starts_with(skip)) return;
            std::lock_guard<std::mutex> lock(s->mutex);
            s->lines.emplace_back(line);
        });
    }
    ~LogCapture() { debuglogsink(nullptr); }
    std::vector<std::string> lines() const {
        std::lock_guard<std::mutex> lock(shared->mutex);
        return shared->lines;
    }
    bool has(const std::string& line) const {
        const auto all = lines();
        return std::find(all.begin(), all.end(), line) != all.end();
    }
};

// The bundle the build makes beside the tests' folder, with the fonts and the beep.
inline std::string builtbundle() {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "Seelenorakel.app")
        .string();
}

// A fresh folder of its own in the temporary one, its path ending in "/"; the caller removes it.
inline std::string scratchfolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "seelenorakel-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    return pattern + "/";
}

// An empty store, emptied without its log lines.
inline void freshstore() {
    t_DebugLevel = 0;
    d_DeleteDatabase(true);
    t_DebugLevel = 1;
}

// An empty key queue, as before the first key.
inline void clearkeys() {
    std::lock_guard<std::mutex> lock(t_KeyQueueLock);
    t_KeyQueue.clear();
    t_KeyEventPending = false;
}

using People = std::vector<std::pair<std::string, std::string>>; // name, Attribute

// The game's participant table holding these people, in a fresh store.
inline void participants(const People& people) {
    freshstore();
    ParticipantTable = d_CreateTable("Seelenorakel");
    FieldName = d_CreateField(ParticipantTable, "Name", d_TypeString);
    FieldAttribute = d_CreateField(ParticipantTable, "Attribute", d_TypeString);
    for (const auto& [name, attribute] : people) {
        const Int record = d_CreateRecord(ParticipantTable);
        d_SetData(ParticipantTable, record, FieldName, name);
        d_SetData(ParticipantTable, record, FieldAttribute, attribute);
    }
    Participants = d_RecordsInTable(ParticipantTable);
}

} // namespace testsupport

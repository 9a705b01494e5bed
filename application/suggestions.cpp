// Pair suggestions for the printer window, worked out after the report is printed and on the clipboard:
// each person's three best candidates, and the pairing of pairing.cpp. It reads the evaluation's
// sections, so its points are the report's, and it never changes the report.
#include "application/application.h"

#include "display/display.h"
#include "library/library.h"
#include "shell/shell.h"
#include "store/store.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Sections = std::vector<std::vector<SeelenorakelCandidate>>;

// The points as the report writes them, without its padding.
std::string pointstext(int64_t points) {
    return formatinteger(points, 32, 0, true);
}

} // namespace

std::string SeelenorakelSuggestionText(const Sections& sections, const std::vector<std::string>& names) {
    auto name = [&names](int64_t record) -> const std::string& {
        static const std::string none;
        return record >= 1 && static_cast<size_t>(record) <= names.size()
                   ? names[static_cast<size_t>(record - 1)]
                   : none;
    };
    std::string text = "Paarvorschläge\r==============\r\rDie drei Besten für jeden:\r";
    for (size_t p = 0; p < sections.size(); ++p) {
        std::vector<SeelenorakelCandidate> best = sections[p];
        const size_t shown = std::min<size_t>(3, best.size());
        // Stable, so that equal points keep record order.
        std::stable_sort(best.begin(), best.end(),
                         [](const SeelenorakelCandidate& a, const SeelenorakelCandidate& b) {
                             return a.Points < b.Points;
                         });
        text += name(static_cast<int64_t>(p + 1)) + ":";
        if (shown == 0) text += " niemand";
        for (size_t k = 0; k < shown; ++k)
            text += (k ? ", " : " ") + name(best[k].Record) + " (" + pointstext(best[k].Points) + ")";
        text += '\r';
    }

    text += "\rPaare, die einander zulassen:\r";
    std::vector<bool> paired(sections.size(), false);
    for (const auto& [first, second] : SeelenorakelPairing(sections)) {
        int64_t points = 0;
        for (const SeelenorakelCandidate& c : sections[static_cast<size_t>(first - 1)])
            if (c.Record == second) points = c.Points;
        text += name(first) + " und " + name(second) + ": " + pointstext(points) + " Punkte\r";
        paired[static_cast<size_t>(first - 1)] = paired[static_cast<size_t>(second - 1)] = true;
    }
    std::string alone;
    for (size_t p = 0; p < sections.size(); ++p)
        if (!paired[p]) alone += (alone.empty() ? "" : ", ") + name(static_cast<int64_t>(p + 1));
    if (!alone.empty()) text += "Ohne Partner: " + alone + "\r";
    return text;
}

void SeelenorakelSuggestions() {
    const Sections sections = SeelenorakelSections();
    std::vector<std::string> names;
    for (int64_t record = 1; record <= static_cast<int64_t>(sections.size()); ++record)
        names.push_back(d_GetData(ParticipantTable, record, FieldName));
    t_SideWindowText(9, SeelenorakelSuggestionText(sections, names));
}

// The evaluation: for every participant, everyone else whom that person's demands allow, with the points of
// the pair. Each person's name and answers are read once; the pairs' points go into sections in record
// order, and the report is written from the sections into one text whose room is reserved first.
#include "application/application.h"

#include "library/library.h"
#include "shell/platform.h"
#include "store/store.h"
#include "terminal/terminal.h"

#include <cmath>
#include <string>
#include <vector>

namespace {

constexpr Int linePrefix = 38; // blanks before the Attribute string in an evaluation line

// Positions in the evaluation line.
constexpr Int posYear = 39, posMonth = 43, posDay = 45, posSex = 47, posReligion = 48, posSize = 50,
              posWeight = 53, posStatus = 56, posMarried = 97, posSameReligion = 98, posOtherSex = 99;

// The 43 positions whose digits are compared: religion, nationality, then status to the last statement.
constexpr Int digitPositions = 43;
constexpr Int digitPosition(Int k) {
    return k < 2 ? posReligion + k : posStatus + (k - 2);
}

// What the pairs need of a person. Pieces compared between people are kept as their text.
struct Person {
    std::string Name, Line; // Line: the evaluation line, the Attribute string behind the blanks
    std::string Sex, Religion;
    bool Married = false, WantsUnmarried = false, WantsSameReligion = false, WantsOtherSex = false;
    double Birth = 0, Size = 0, Weight = 0;
    Int Digits[digitPositions] = {};
};

Person person(Int record) {
    Person p;
    p.Name = d_GetData(ParticipantTable, record, FieldName);
    p.Line = std::string(linePrefix, ' ') + d_GetData(ParticipantTable, record, FieldAttribute);
    // A piece past the end of the line is empty, and reads as 0.
    auto piece = [&p](Int position, Int length) { return midstring(p.Line, position, length); };
    p.Sex = piece(posSex, 1);
    p.Religion = piece(posReligion, 1);
    p.Married = piece(posStatus, 1) == "5";
    p.WantsUnmarried = piece(posMarried, 1) == "0";
    p.WantsSameReligion = piece(posSameReligion, 1) == "1";
    p.WantsOtherSex = piece(posOtherSex, 1) == "1";

    // Each step is one rounded double operation in the written order; the build forbids contraction
    // into fused multiply-adds, which would change the points.
    const bool female = p.Sex == "1";
    const double year = realfromstring(piece(posYear, 4)), month = realfromstring(piece(posMonth, 2)),
                 day = realfromstring(piece(posDay, 2));
    p.Birth = ((year - 1900) * 365 + month * 30.4 + day) / 365;
    if (female) p.Birth = p.Birth * 1.15;
    p.Size = realfromstring(piece(posSize, 3));
    if (female) p.Size = p.Size * 1.05;
    p.Weight = realfromstring(piece(posWeight, 3));
    if (female) p.Weight = p.Weight * 1.15;

    // A character holds one digit at most, with marks that don't count: 0 to 9.
    for (Int k = 0; k < digitPositions; ++k) p.Digits[k] = integerfrombytes(piece(digitPosition(k), 1));
    return p;
}

std::vector<Person> everyone() {
    std::vector<Person> people;
    for (Int record = 1; record <= Participants; ++record) people.push_back(person(record));
    return people;
}

// Only p's demands count in p's section.
bool excluded(const Person& p, const Person& c) {
    return (p.WantsUnmarried && c.Married) || (p.WantsSameReligion && p.Religion != c.Religion) ||
           (p.WantsOtherSex && p.Sex == c.Sex);
}

// A distance cut towards zero, NaN as 0. Only a hand-edited file brings distances of 2^60 or more (a year
// of "9e99"); they are held there, so that the terms still add up without overflow.
Int cut(double distance) {
    constexpr double limit = 1152921504606846976.0;
    if (distance >= limit) return static_cast<Int>(limit);
    return distance > 0 ? static_cast<Int>(distance) : 0;
}

Int points(const Person& p, const Person& c) {
    Int sum = cut(std::pow(std::fabs(p.Birth - c.Birth), 1.2));
    for (Int k = 0; k < digitPositions; ++k) {
        const Int difference = p.Digits[k] - c.Digits[k];
        sum += difference * difference;
    }
    return sum + cut(std::fabs(p.Size - c.Size)) + cut(std::fabs(p.Weight - c.Weight));
}

std::vector<std::vector<SeelenorakelCandidate>> sections(const std::vector<Person>& people) {
    std::vector<std::vector<SeelenorakelCandidate>> all(people.size());
    for (size_t pi = 0; pi < people.size(); ++pi) {
        const Person& p = people[pi];
        for (size_t ci = 0; ci < people.size(); ++ci) {
            const Person& c = people[ci];
            if (ci == pi || excluded(p, c)) continue;
            // The mark: the candidate's own demand for the other sex speaks against this pairing.
            all[pi].push_back({static_cast<Int>(ci) + 1, points(p, c), c.WantsOtherSex && c.Sex == p.Sex});
        }
    }
    return all;
}

} // namespace

std::vector<std::vector<SeelenorakelCandidate>> SeelenorakelSections() {
    return sections(everyone());
}

std::string SeelenorakelReport() {
    const std::vector<Person> people = everyone();
    const std::vector<std::vector<SeelenorakelCandidate>> all = sections(people);

    // Names padded to column 41 by characters, so that the points line up whatever the name's bytes.
    std::vector<std::string> padded;
    padded.reserve(people.size());
    for (const Person& p : people) padded.push_back(p.Name + spacestring(40 - charactercount(p.Name)));

    const std::string title = "Seelenorakel Auswertung\r" + std::string(23, '=') + "\r\r",
                      head = "Auswertung für ", rule = "\r" + std::string(55, '-') + "\r",
                      footer = "Je kleiner die Punktzahl, umso besser die Übereinstimmung.\r"
                               "*: Es wird das andere Geschlecht bevorzugt.\r";
    // Room for every line with points of up to four digits and the mark; more points may grow the text.
    size_t room = title.size() + footer.size();
    for (size_t pi = 0; pi < people.size(); ++pi) {
        room += head.size() + people[pi].Name.size() + rule.size() + 1;
        for (const SeelenorakelCandidate& c : all[pi])
            room += padded[static_cast<size_t>(c.Record - 1)].size() + sizeof " 4.095 Punkte. *\r";
    }

    // The texts of the usual points, each made the first time it is needed.
    std::vector<std::string> texts(4096);
    std::string other;
    auto pointstext = [&texts, &other](Int value) -> const std::string& {
        if (value < 0 || value >= static_cast<Int>(texts.size()))
            return other = formatinteger(value, 32, 4, true);
        std::string& text = texts[static_cast<size_t>(value)];
        if (text.empty()) text = formatinteger(value, 32, 4, true);
        return text;
    };

    std::string report;
    report.reserve(room);
    report += title;
    for (size_t pi = 0; pi < people.size(); ++pi) {
        report.append(head).append(people[pi].Name).append(rule);
        for (const SeelenorakelCandidate& c : all[pi]) {
            report.append(padded[static_cast<size_t>(c.Record - 1)]).append(pointstext(c.Points));
            report.append(c.Marked ? " Punkte. *\r" : " Punkte.\r");
        }
        report += '\r';
    }
    report += footer;
    // The buffers hold the last person in hand, as after going through everyone.
    if (!people.empty()) {
        NameBuffer = people.back().Name;
        AttributeBuffer = people.back().Line;
    }
    return report;
}

void SeelenorakelEvaluation() {
    const uint8_t window = SeelenorakelWindow();
    if (Participants < 2) {
        t_Print(window, "Es müssen mindestens 2 Teilnehmer vorhanden sein,");
        t_Cr(window);
        t_Print(window, "um eine Auswertung erstellen zu können.");
        return;
    }
    const std::string report = SeelenorakelReport();
    t_Print(window, report);
    setpasteboardstring(report);
    // After the report is out, so that nobody waits for the pairing to see it.
    SeelenorakelSuggestions();
    NameBuffer = "ende";
}

#include "application/application.h"

#include "display/display.h"
#include "library/library.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "store/store.h"
#include "terminal/terminal.h"

#include <cmath>
#include <cstdint>
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

// What a person's line gives, worked out once per person rather than once per pair: the pieces and values
// are the same whichever partner they are compared with.
struct Person {
    std::string Name;
    std::string Line;
    std::string PaddedName; // the name and the blanks up to column 41
    std::string Sex, Religion, Status, Married, SameReligion, OtherSex;
    double Birth = 0, Size = 0, Weight = 0;
    Int Digits[digitPositions] = {};
};

std::string piece(const std::string& line, Int position, Int length) {
    return midstring(line, position, length);
}

Person person(Int record) {
    Person p;
    p.Name = d_GetData(ParticipantTable, record, FieldName);
    p.Line = std::string(linePrefix, ' ') + d_GetData(ParticipantTable, record, FieldAttribute);
    p.PaddedName = p.Name + spacestring(40 - charactercount(p.Name));
    p.Sex = piece(p.Line, posSex, 1);
    p.Religion = piece(p.Line, posReligion, 1);
    p.Status = piece(p.Line, posStatus, 1);
    p.Married = piece(p.Line, posMarried, 1);
    p.SameReligion = piece(p.Line, posSameReligion, 1);
    p.OtherSex = piece(p.Line, posOtherSex, 1);

    // Each step is one rounded double operation in the written order; the build forbids contraction
    // into fused multiply-adds, which would change the points.
    const double y = realfromstring(piece(p.Line, posYear, 4));
    const double m = realfromstring(piece(p.Line, posMonth, 2));
    const double d = realfromstring(piece(p.Line, posDay, 2));
    const bool female = p.Sex == "1";
    p.Birth = ((y - 1900) * 365 + m * 30.4 + d) / 365;
    if (female) p.Birth = p.Birth * 1.15;
    p.Size = realfromstring(piece(p.Line, posSize, 3));
    if (female) p.Size = p.Size * 1.05;
    p.Weight = realfromstring(piece(p.Line, posWeight, 3));
    if (female) p.Weight = p.Weight * 1.15;

    for (Int k = 0; k < digitPositions; ++k)
        p.Digits[k] = integerfrombytes(bytesfromstring(piece(p.Line, digitPosition(k), 1)));
    return p;
}

bool excluded(const Person& p, const Person& c) {
    if (p.Married == "0" && c.Status == "5") return true;
    if (p.SameReligion == "1" && p.Religion != c.Religion) return true;
    return p.OtherSex == "1" && p.Sex == c.Sex;
}

// A value cut towards zero. Only a hand-edited file brings values beyond 2^53 (or infinities and NaN);
// they are held there, so that four terms still add up without overflow.
Int cut(double x) {
    constexpr double limit = 9007199254740992.0;
    if (std::isnan(x)) return 0;
    if (x >= limit) return static_cast<Int>(limit);
    if (x <= -limit) return -static_cast<Int>(limit);
    return static_cast<Int>(x);
}

Int points(const Person& p, const Person& c) {
    Int sum = cut(std::pow(std::fabs(p.Birth - c.Birth), 1.2));
    for (Int k = 0; k < digitPositions; ++k) {
        const Int difference = p.Digits[k] - c.Digits[k];
        sum += difference * difference;
    }
    sum += cut(std::fabs(p.Size - c.Size));
    sum += cut(std::fabs(p.Weight - c.Weight));
    return sum;
}

// formatinteger of the usual points, made once each.
const std::string& pointstext(Int value, std::vector<std::string>& cache) {
    static thread_local std::string other;
    if (value < 0 || value >= static_cast<Int>(cache.size()))
        return other = formatinteger(value, 32, 4, true);
    std::string& text = cache[static_cast<size_t>(value)];
    if (text.empty()) text = formatinteger(value, 32, 4, true);
    return text;
}

} // namespace

std::string SeelenorakelReport() {
    std::vector<Person> people;
    people.reserve(static_cast<size_t>(Participants > 0 ? Participants : 0));
    for (Int record = 1; record <= Participants; ++record) people.push_back(person(record));

    std::vector<std::string> cache(4096);
    std::string report = "Seelenorakel Auswertung\r" + std::string(23, '=') + "\r\r";
    const std::string rule = std::string(55, '-') + "\r";
    for (const Person& p : people) {
        NameBuffer = p.Name;
        AttributeBuffer = p.Line;
        report.append("Auswertung für ").append(p.Name).append("\r").append(rule);
        for (const Person& c : people) {
            if (&c == &p || excluded(p, c)) continue;
            report.append(c.PaddedName).append(pointstext(points(p, c), cache)).append(" Punkte.");
            // The candidate's own demand speaks against this pairing.
            if (c.OtherSex == "1" && p.Sex == c.Sex) report.append(" *");
            report.push_back('\r');
        }
        report.push_back('\r');
    }
    report.append("Je kleiner die Punktzahl, umso besser die Übereinstimmung.\r");
    report.append("*: Es wird das andere Geschlecht bevorzugt.\r");
    return report;
}

void SeelenorakelEvaluation() {
    const uint8_t window = t_DefaultWindow.load();
    if (Participants < 2) {
        t_Print(window, "Es müssen mindestens 2 Teilnehmer vorhanden sein,");
        t_Cr(window);
        t_Print(window, "um eine Auswertung erstellen zu können.");
        return;
    }
    const std::string report = SeelenorakelReport();
    t_Print(window, report);
    setpasteboardstring(report);
    NameBuffer = "ende";
}

#include "application/application.h"

#include "display/display.h"
#include "library/library.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "store/store.h"
#include "terminal/terminal.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <cstdint>
#include <string>
#include <unordered_map>
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
// are the same whichever partner they are compared with. Pieces compared between people are held as
// numbers that stand for their text.
struct Person {
    std::string Name;
    std::string Line;
    std::string PaddedName; // the name and the blanks up to column 41
    int Sex = 0, Religion = 0;
    bool WantsUnmarried = false, WantsSameReligion = false, WantsOtherSex = false, Married = false;
    double Birth = 0, Size = 0, Weight = 0;
    // 16 bits and a count padded to a multiple of 8, so that the sum of squares runs on vector registers.
    int16_t Digits[48] = {};
};

// midstring of the line. A line of plain ASCII without a carriage return has one byte per character, so
// there the pieces are cut by bytes, which gives the same text without going through the character rules.
struct Line {
    const std::string& Text;
    bool OneBytePerCharacter;
    explicit Line(const std::string& text)
        : Text(text), OneBytePerCharacter(std::all_of(Text.begin(), Text.end(), [](char c) {
              return static_cast<unsigned char>(c) < 0x80 && c != '\r';
          })) {}
    std::string piece(Int position, Int length) const {
        if (!OneBytePerCharacter) return midstring(Text, position, length);
        const auto from = static_cast<size_t>(position - 1);
        return from < Text.size() ? Text.substr(from, static_cast<size_t>(length)) : std::string();
    }
};

Person person(Int record, std::unordered_map<std::string, int>& pieces) {
    Person p;
    p.Name = d_GetData(ParticipantTable, record, FieldName);
    p.Line = std::string(linePrefix, ' ') + d_GetData(ParticipantTable, record, FieldAttribute);
    const Line line(p.Line);
    auto piece = [&](Int position, Int length) { return line.piece(position, length); };
    auto number = [&](Int position) {
        return pieces.emplace(piece(position, 1), static_cast<int>(pieces.size())).first->second;
    };
    p.PaddedName = p.Name + spacestring(40 - charactercount(p.Name));
    const std::string sex = piece(posSex, 1);
    p.Sex = number(posSex);
    p.Religion = number(posReligion);
    p.Married = piece(posStatus, 1) == "5";
    p.WantsUnmarried = piece(posMarried, 1) == "0";
    p.WantsSameReligion = piece(posSameReligion, 1) == "1";
    p.WantsOtherSex = piece(posOtherSex, 1) == "1";

    // Each step is one rounded double operation in the written order; the build forbids contraction
    // into fused multiply-adds, which would change the points.
    const double y = realfromstring(piece(posYear, 4));
    const double m = realfromstring(piece(posMonth, 2));
    const double d = realfromstring(piece(posDay, 2));
    const bool female = sex == "1";
    p.Birth = ((y - 1900) * 365 + m * 30.4 + d) / 365;
    if (female) p.Birth = p.Birth * 1.15;
    p.Size = realfromstring(piece(posSize, 3));
    if (female) p.Size = p.Size * 1.05;
    p.Weight = realfromstring(piece(posWeight, 3));
    if (female) p.Weight = p.Weight * 1.15;

    for (Int k = 0; k < digitPositions; ++k)
        p.Digits[k] = static_cast<int16_t>(integerfrombytes(bytesfromstring(piece(digitPosition(k), 1))));
    return p;
}

bool excluded(const Person& p, const Person& c) {
    if (p.WantsUnmarried && c.Married) return true;
    if (p.WantsSameReligion && p.Religion != c.Religion) return true;
    return p.WantsOtherSex && p.Sex == c.Sex;
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
    // A piece is one character, so its digit is 0 to 9 and the squares can't overflow.
    int32_t squares = 0;
    for (size_t k = 0; k < std::size(p.Digits); ++k) {
        const int16_t difference = static_cast<int16_t>(p.Digits[k] - c.Digits[k]);
        squares += static_cast<int32_t>(difference) * difference;
    }
    sum += squares;
    sum += cut(std::fabs(p.Size - c.Size));
    sum += cut(std::fabs(p.Weight - c.Weight));
    return sum;
}

// The points and " Punkte." of the usual values, made once each.
struct PointsTexts {
    std::vector<std::string> Made = std::vector<std::string>(4096);
    std::string Other;
    const std::string& operator()(Int value) {
        if (value < 0 || value >= static_cast<Int>(Made.size()))
            return Other = formatinteger(value, 32, 4, true) + " Punkte.";
        std::string& text = Made[static_cast<size_t>(value)];
        if (text.empty()) text = formatinteger(value, 32, 4, true) + " Punkte.";
        return text;
    }
};

} // namespace

std::string SeelenorakelReport() {
    std::vector<Person> people;
    people.reserve(static_cast<size_t>(Participants > 0 ? Participants : 0));
    std::unordered_map<std::string, int> pieces;
    for (Int record = 1; record <= Participants; ++record) people.push_back(person(record, pieces));

    PointsTexts pointstext;
    std::string report;
    // Room for the usual report at once, so that growing it never copies it.
    report.reserve(people.size() * (people.size() + 3) * 56 + 256);
    report += "Seelenorakel Auswertung\r" + std::string(23, '=') + "\r\r";
    const std::string rule = std::string(55, '-') + "\r";
    for (size_t pi = 0; pi < people.size(); ++pi) {
        const Person& p = people[pi];
        NameBuffer = p.Name;
        AttributeBuffer = p.Line;
        report.append("Auswertung für ").append(p.Name).append("\r").append(rule);
        for (size_t ci = 0; ci < people.size(); ++ci) {
            const Person& c = people[ci];
            if (ci == pi || excluded(p, c)) continue;
            report.append(c.PaddedName).append(pointstext(points(p, c)));
            // The candidate's own demand speaks against this pairing.
            if (c.WantsOtherSex && p.Sex == c.Sex) report.append(" *");
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

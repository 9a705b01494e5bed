#include "application/application.h"

#include "display/display.h"
#include "library/library.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "store/store.h"
#include "terminal/terminal.h"

#include <algorithm>
#include <array>
#include <cstring>
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

// A copy of the report may run up to this many bytes past what it keeps, and read as many past its source.
constexpr size_t slack = 32;

// What a person's line gives, worked out once per person rather than once per pair: the pieces and values
// are the same whichever partner they are compared with. Pieces compared between people are held as
// numbers that stand for their text.
struct Person {
    std::string Name;
    std::string Line;
    std::string PaddedName; // the name and the blanks up to column 41, then `slack` more for copy()
    size_t PaddedNameBytes = 0;
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
    p.PaddedNameBytes = p.PaddedName.size();
    p.PaddedName.append(slack, ' ');
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

    // Plain ASCII is its own bytes.
    for (Int k = 0; k < digitPositions; ++k) {
        const std::string digit = piece(digitPosition(k), 1);
        p.Digits[k] =
            static_cast<int16_t>(line.OneBytePerCharacter ? integerfrombytes(std::string_view(digit))
                                                          : integerfrombytes(bytesfromstring(digit)));
    }
    return p;
}

// Without branches: with real answers, who is left out follows no pattern a branch predictor could learn.
bool excluded(const Person& p, bool married, int religion, int sex) {
    return (p.WantsUnmarried & married) | (p.WantsSameReligion & (p.Religion != religion)) |
           (p.WantsOtherSex & (p.Sex == sex));
}
bool excluded(const Person& p, const Person& c) {
    return excluded(p, c.Married, c.Religion, c.Sex);
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

// trunc(pow(x, 1.2)), the only part of the power the points use. Single-precision logarithm and
// exponential come within 1.5e-6 of x^1.2 relatively (at worst for the smallest floats); where no integer
// lies within 1e-5 of that, pow, good to an ulp, has the same integer part, and pow is asked only where
// one does.
Int powertrunc(double x) {
    if (x > 0 && x < 1e7) {
        const double near = x * std::exp(0.2f * std::log(static_cast<float>(x)));
        const double low = std::floor(near * (1 - 1e-5)), high = std::floor(near * (1 + 1e-5));
        if (low == high) return static_cast<Int>(low);
    }
    return cut(std::pow(x, 1.2));
}

Int points(const Person& p, const Person& c) {
    Int sum = powertrunc(std::fabs(p.Birth - c.Birth));
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

// The report is written through a cursor into a text grown ahead, so that a line costs a few fixed-size
// copies rather than appends that each check the room.
struct Writer {
    std::string Text;
    size_t Used = 0;
    // Room for `bytes` more, and the slack beyond them.
    char* room(size_t bytes) {
        if (Used + bytes + slack > Text.size()) Text.resize(std::max(Used + bytes + slack, Text.size() * 2));
        return Text.data() + Used;
    }
    void put(std::string_view s) {
        std::memcpy(room(s.size()), s.data(), s.size());
        Used += s.size();
    }
};

// Bytes from a source held with `slack` bytes behind them, as 16-byte pieces.
inline char* copy(char* to, const char* from, size_t bytes) {
    for (size_t at = 0; at < bytes; at += 16) std::memcpy(to + at, from + at, 16);
    return to + bytes;
}

// The points and " Punkte." of the usual values, made once each and held with the slack for copy().
struct PointsTexts {
    static constexpr Int usual = 4096;
    std::vector<std::array<char, 16>> Made = std::vector<std::array<char, 16>>(usual);
    std::vector<uint8_t> Length = std::vector<uint8_t>(usual);
    std::string Other;
    std::string_view operator()(Int value) {
        if (value < 0 || value >= usual) {
            Other = formatinteger(value, 32, 4, true) + " Punkte.";
            const size_t length = Other.size();
            Other.append(slack, ' ');
            return {Other.data(), length};
        }
        auto& text = Made[static_cast<size_t>(value)];
        uint8_t& length = Length[static_cast<size_t>(value)];
        if (length == 0) {
            const std::string made = formatinteger(value, 32, 4, true) + " Punkte.";
            length = static_cast<uint8_t>(made.size()); // 12 or 13: "4.095 Punkte."
            std::memcpy(text.data(), made.data(), made.size());
        }
        return {text.data(), length};
    }
};

// Bytes of a candidate line beside the name with usual points: "1.234 Punkte. *\r".
constexpr size_t usualLineTail = 16;

} // namespace

std::string SeelenorakelReport() {
    std::vector<Person> people;
    people.reserve(static_cast<size_t>(Participants > 0 ? Participants : 0));
    std::unordered_map<std::string, int> pieces;
    for (Int record = 1; record <= Participants; ++record) people.push_back(person(record, pieces));

    // The exclusions depend on three values of the candidate only: the people counted by those values
    // give each section's length before it is written, so the text is grown about once.
    struct Kind {
        bool Married;
        int Religion, Sex;
        size_t People = 0, NameBytes = 0;
    };
    std::vector<Kind> kinds;
    for (const Person& c : people) {
        auto kind = std::find_if(kinds.begin(), kinds.end(), [&](const Kind& k) {
            return k.Married == c.Married && k.Religion == c.Religion && k.Sex == c.Sex;
        });
        if (kind == kinds.end()) kind = kinds.insert(kinds.end(), Kind{c.Married, c.Religion, c.Sex});
        ++kind->People;
        kind->NameBytes += c.PaddedNameBytes;
    }
    const std::string rule = std::string(55, '-') + "\r";
    size_t estimate = 256;
    for (const Person& p : people) {
        estimate += p.Name.size() + 17 + rule.size();
        for (const Kind& k : kinds)
            if (!excluded(p, k.Married, k.Religion, k.Sex))
                estimate += k.NameBytes + k.People * usualLineTail;
    }

    Writer report;
    report.Text.resize(estimate);
    report.put("Seelenorakel Auswertung\r");
    report.put(std::string(23, '='));
    report.put("\r\r");
    PointsTexts pointstext;
    std::vector<uint32_t> candidates(people.size());
    for (size_t pi = 0; pi < people.size(); ++pi) {
        const Person& p = people[pi];
        NameBuffer = p.Name;
        AttributeBuffer = p.Line;
        report.put("Auswertung für ");
        report.put(p.Name);
        report.put("\r");
        report.put(rule);
        // Who is left out depends on the data alone, so the list is gathered without a branch to mispredict.
        size_t count = 0;
        for (size_t ci = 0; ci < people.size(); ++ci) {
            candidates[count] = static_cast<uint32_t>(ci);
            count += (ci != pi) & !excluded(p, people[ci]);
        }
        for (size_t k = 0; k < count; ++k) {
            const Person& c = people[candidates[k]];
            const std::string_view text = pointstext(points(p, c));
            // The candidate's own demand speaks against this pairing.
            const bool mark = c.WantsOtherSex & (p.Sex == c.Sex);
            char* at = report.room(c.PaddedNameBytes + text.size() + 3);
            at = copy(at, c.PaddedName.data(), c.PaddedNameBytes);
            at = copy(at, text.data(), text.size());
            std::memcpy(at, mark ? " *\r" : "\r\0\0", 3);
            report.Used = static_cast<size_t>(at - report.Text.data()) + (mark ? 3 : 1);
        }
        report.put("\r");
    }
    report.put("Je kleiner die Punktzahl, umso besser die Übereinstimmung.\r");
    report.put("*: Es wird das andere Geschlecht bevorzugt.\r");
    report.Text.resize(report.Used);
    return std::move(report.Text);
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

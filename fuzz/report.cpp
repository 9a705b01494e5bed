// The evaluation's report of edited participants against a plain version that cuts every piece out of the
// evaluation line with midstring and reads it with the library's readers. Any difference traps.
#include "application/application.h"
#include "fuzz/entry.h"
#include "library/library.h"
#include "store/store.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

// Cut towards zero, held at 2^60 either way, NaN as 0.
Int whole(double x) {
    constexpr double limit = 1152921504606846976.0;
    if (std::isnan(x)) return 0;
    if (x >= limit) return static_cast<Int>(limit);
    if (x <= -limit) return -static_cast<Int>(limit);
    return static_cast<Int>(x);
}

// What the pairs read of a person's evaluation line.
struct Line {
    std::string name, sex, religion, status, married, sameReligion, otherSex;
    double birth, size, weight;
    Int digits[43];
};

Line line(Int record) {
    Line l;
    l.name = d_GetData(ParticipantTable, record, FieldName);
    const std::string text = std::string(38, ' ') + d_GetData(ParticipantTable, record, FieldAttribute);
    auto piece = [&](Int position, Int length) { return midstring(text, position, length); };
    l.sex = piece(47, 1);
    l.religion = piece(48, 1);
    l.status = piece(56, 1);
    l.married = piece(97, 1);
    l.sameReligion = piece(98, 1);
    l.otherSex = piece(99, 1);
    l.birth = ((realfromstring(piece(39, 4)) - 1900) * 365 + realfromstring(piece(43, 2)) * 30.4 +
               realfromstring(piece(45, 2))) /
              365;
    l.size = realfromstring(piece(50, 3));
    l.weight = realfromstring(piece(53, 3));
    if (l.sex == "1") {
        l.birth = l.birth * 1.15;
        l.size = l.size * 1.05;
        l.weight = l.weight * 1.15;
    }
    for (Int k = 0; k < 43; ++k)
        l.digits[k] = integerfrombytes(bytesfromstring(piece(k < 2 ? 48 + k : 56 + (k - 2), 1)));
    return l;
}

std::string plainreport() {
    std::vector<Line> lines;
    for (Int record = 1; record <= Participants; ++record) lines.push_back(line(record));
    std::string report = "Seelenorakel Auswertung\r" + std::string(23, '=') + "\r\r";
    for (const Line& p : lines) {
        report += "Auswertung für " + p.name + "\r" + std::string(55, '-') + "\r";
        for (const Line& c : lines) {
            if (&c == &p || (p.married == "0" && c.status == "5") ||
                (p.sameReligion == "1" && p.religion != c.religion) || (p.otherSex == "1" && p.sex == c.sex))
                continue;
            Int points = whole(std::pow(std::fabs(p.birth - c.birth), 1.2));
            for (Int k = 0; k < 43; ++k) points += (p.digits[k] - c.digits[k]) * (p.digits[k] - c.digits[k]);
            points += whole(std::fabs(p.size - c.size)) + whole(std::fabs(p.weight - c.weight));
            report += c.name + spacestring(40 - charactercount(c.name)) + formatinteger(points, 32, 4, true) +
                      " Punkte." + (c.otherSex == "1" && p.sex == c.sex ? " *" : "") + "\r";
        }
        report += "\r";
    }
    return report + "Je kleiner die Punktzahl, umso besser die Übereinstimmung.\r" +
           "*: Es wird das andere Geschlecht bevorzugt.\r";
}

} // namespace

// Two to eight people, or 64 more where the first byte's high bit is set, so that sets of people take more
// than one word: a name, and a line of answers in their ranges that the input then edits.
int fuzzreport(const uint8_t* data, size_t size) {
    FuzzBytes in{data, size};
    d_DeleteDatabase(true);
    ParticipantTable = d_CreateTable("Seelenorakel");
    FieldName = d_CreateField(ParticipantTable, "Name", d_TypeString);
    FieldAttribute = d_CreateField(ParticipantTable, "Attribute", d_TypeString);
    const uint8_t first = in.byte();
    const int people = 2 + first % 7 + (first & 0x80 ? 64 : 0);
    for (int i = 0; i < people; ++i) {
        const std::string name = in.bytes(60);
        std::string answers;
        // The highest digit at each place: born 2999-19-39, sex 1, religion 9, nationality 9, size 299,
        // weight 299, status, income and colour 9, the statements 9 and the demands 1.
        static const std::string highest = "29991939199299299999" + std::string(38, '9') + "111";
        for (char most : highest) answers += static_cast<char>('0' + in.byte() % (most - '0' + 1));
        for (int edits = in.byte() % 4; edits > 0; --edits) {
            const size_t at = in.byte() % (answers.size() + 1);
            const uint8_t kind = in.byte() % 3;
            if (kind == 0 && at < answers.size()) answers[at] = static_cast<char>(in.byte());
            if (kind == 1) answers.insert(at, in.bytes(4));
            if (kind == 2) answers.resize(at);
        }
        const Int record = d_CreateRecord(ParticipantTable);
        d_SetData(ParticipantTable, record, FieldName, name);
        d_SetData(ParticipantTable, record, FieldAttribute, answers);
    }
    Participants = d_RecordsInTable(ParticipantTable);
    if (SeelenorakelReport().text() != plainreport()) __builtin_trap();
    // The buffers hold the last person in hand.
    if (NameBuffer != d_GetData(ParticipantTable, Participants, FieldName) ||
        AttributeBuffer != std::string(38, ' ') + d_GetData(ParticipantTable, Participants, FieldAttribute))
        __builtin_trap();
    return 0;
}

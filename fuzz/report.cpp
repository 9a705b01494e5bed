// The evaluation's report of hand-edited participants against a plain reading of its rules: every pair
// re-reads both lines piece by piece, as slowly as the rules are written. Any difference traps.
#include "application/application.h"
#include "fuzz/entry.h"
#include "library/library.h"
#include "store/store.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

namespace {

// Cut towards zero, held at 2^53 either way, NaN as 0.
Int whole(double x) {
    constexpr double limit = 9007199254740992.0;
    if (std::isnan(x)) return 0;
    if (x >= limit) return static_cast<Int>(limit);
    if (x <= -limit) return -static_cast<Int>(limit);
    return static_cast<Int>(x);
}

struct Values {
    double birth, size, weight;
};

Values values(const std::string& line) {
    const bool female = midstring(line, 47, 1) == "1";
    double birth = ((realfromstring(midstring(line, 39, 4)) - 1900) * 365 +
                    realfromstring(midstring(line, 43, 2)) * 30.4 + realfromstring(midstring(line, 45, 2))) /
                   365;
    double size = realfromstring(midstring(line, 50, 3));
    double weight = realfromstring(midstring(line, 53, 3));
    if (female) {
        birth = birth * 1.15;
        size = size * 1.05;
        weight = weight * 1.15;
    }
    return {birth, size, weight};
}

std::string plainreport() {
    auto line = [](Int record) {
        return std::string(38, ' ') + d_GetData(ParticipantTable, record, FieldAttribute);
    };
    std::string report = "Seelenorakel Auswertung\r" + std::string(23, '=') + "\r\r";
    for (Int p = 1; p <= Participants; ++p) {
        const std::string own = line(p);
        const Values mine = values(own);
        report += "Auswertung für " + d_GetData(ParticipantTable, p, FieldName) + "\r" +
                  std::string(55, '-') + "\r";
        for (Int c = 1; c <= Participants; ++c) {
            if (c == p) continue;
            const std::string other = line(c);
            if ((midstring(own, 97, 1) == "0" && midstring(other, 56, 1) == "5") ||
                (midstring(own, 98, 1) == "1" && midstring(own, 48, 1) != midstring(other, 48, 1)) ||
                (midstring(own, 99, 1) == "1" && midstring(own, 47, 1) == midstring(other, 47, 1)))
                continue;
            const Values theirs = values(other);
            Int points = whole(std::pow(std::fabs(mine.birth - theirs.birth), 1.2));
            for (Int position : {48, 49}) {
                const Int d = integerfrombytes(bytesfromstring(midstring(own, position, 1))) -
                              integerfrombytes(bytesfromstring(midstring(other, position, 1)));
                points += d * d;
            }
            for (Int position = 56; position <= 96; ++position) {
                const Int d = integerfrombytes(bytesfromstring(midstring(own, position, 1))) -
                              integerfrombytes(bytesfromstring(midstring(other, position, 1)));
                points += d * d;
            }
            points +=
                whole(std::fabs(mine.size - theirs.size)) + whole(std::fabs(mine.weight - theirs.weight));
            const std::string name = d_GetData(ParticipantTable, c, FieldName);
            report +=
                name + spacestring(40 - charactercount(name)) + formatinteger(points, 32, 4, true) +
                " Punkte." +
                (midstring(other, 99, 1) == "1" && midstring(own, 47, 1) == midstring(other, 47, 1) ? " *"
                                                                                                    : "") +
                "\r";
        }
        report += "\r";
    }
    return report + "Je kleiner die Punktzahl, umso besser die Übereinstimmung.\r" +
           "*: Es wird das andere Geschlecht bevorzugt.\r";
}

} // namespace

// Up to eight people: a name, and a line of answers in their ranges that the input then edits.
int fuzzreport(const uint8_t* data, size_t size) {
    FuzzBytes in{data, size};
    d_DeleteDatabase(true);
    ParticipantTable = d_CreateTable("Seelenorakel");
    FieldName = d_CreateField(ParticipantTable, "Name", d_TypeString);
    FieldAttribute = d_CreateField(ParticipantTable, "Attribute", d_TypeString);
    const int people = 2 + in.byte() % 7;
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
    if (SeelenorakelReport() != plainreport()) __builtin_trap();
    // The buffers hold the last person in hand.
    if (NameBuffer != d_GetData(ParticipantTable, Participants, FieldName) ||
        AttributeBuffer != std::string(38, ' ') + d_GetData(ParticipantTable, Participants, FieldAttribute))
        __builtin_trap();
    return 0;
}

#include "application/application.h"

#include "display/display.h"
#include "library/library.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "store/store.h"
#include "terminal/terminal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr Int linePrefix = 38; // blanks before the Attribute string in an evaluation line

// Positions in the evaluation line.
constexpr Int posYear = 39, posMonth = 43, posDay = 45, posSex = 47, posReligion = 48, posSize = 50,
              posWeight = 53, posStatus = 56, posMarried = 97, posSameReligion = 98, posOtherSex = 99;

// The 43 positions whose digits are compared, in the order of their lanes: status to the last statement,
// then religion and nationality. Any order gives the same sum; this one reads the first 41 at once.
constexpr Int digitPositions = 43, runOfDigits = 41;
constexpr Int digitPosition(Int k) {
    return k < runOfDigits ? posStatus + k : posReligion + (k - runOfDigits);
}

// A copy of the report may run up to this many bytes past what it keeps, and read as many past its source.
constexpr size_t slack = 32;

// Eight digits side by side, counted modulo 2^16: every sum below stays under it.
using Lanes = uint16_t __attribute__((vector_size(16)));
using Words = uint64_t __attribute__((vector_size(16)));
using Doubles = double __attribute__((vector_size(16)));
using Pair = int32_t __attribute__((vector_size(8)));
using Quad = uint32_t __attribute__((vector_size(16)));
constexpr size_t laneGroups = 6; // the 43 digits and 5 more lanes

// The sum of the lanes, as four 16-bit fields of two 64-bit words.
inline Int lanesum(Lanes lanes) {
    const Words halves = reinterpret_cast<Words>(lanes);
    return static_cast<Int>(((halves[0] + halves[1]) * 0x0001000100010001u) >> 48);
}

// What a person's line gives, worked out once per person rather than once per pair: the pieces and values
// are the same whichever partner they are compared with. Pieces compared between people are held as
// numbers that stand for their text.
struct Person {
    Lanes Digits[laneGroups] = {};
    Int Squares = 0; // the sum of the squared digits
    double Birth = 0, Size = 0, Weight = 0;
    int Sex = 0, Religion = 0;
    bool WantsUnmarried = false, WantsSameReligion = false, WantsOtherSex = false, Married = false;
    bool Unusual = false; // a size or weight too far out for the lanes of the points loop
    size_t NameAt = 0, NameBytes = 0, PaddedNameBytes = 0; // in the text of all padded names
    const std::string* Attribute = nullptr;                // the store's cell, read in place
};

// A text of plain ASCII without a carriage return has one byte per character. Longer texts are looked at
// sixteen bytes at a time, the last sixteen overlapping; a carriage return compares to all ones, which
// shows in the same bit as a byte beyond ASCII.
bool onebytepercharacter(std::string_view text) {
    using Bytes = char __attribute__((vector_size(16)));
    if (text.size() < 16) return plainascii(text) && std::memchr(text.data(), '\r', text.size()) == nullptr;
    Bytes seen = {};
    auto look = [&seen](const char* at) {
        Bytes bytes;
        std::memcpy(&bytes, at, 16);
        seen |= bytes | (bytes == '\r');
    };
    for (size_t at = 0; at + 16 <= text.size(); at += 16) look(text.data() + at);
    look(text.data() + text.size() - 16);
    const Words words = reinterpret_cast<Words>(seen);
    return ((words[0] | words[1]) & 0x8080808080808080u) == 0;
}

// midstring of the evaluation line, for lines that aren't one byte per character or end early.
struct Line {
    std::string Whole;
    std::list<std::string> Held; // behind the views handed out
    explicit Line(std::string_view attribute) : Whole(std::string(linePrefix, ' ').append(attribute)) {}
    std::string_view piece(Int position, Int length) {
        return Held.emplace_back(midstring(Whole, position, length));
    }
};

// Numbers 0, 1, ... for piece texts: one byte is its own entry, longer or empty pieces are looked up.
struct PieceNumbers {
    std::array<int, 256> Byte;
    std::unordered_map<std::string, int> Longer;
    int Count = 0;
    PieceNumbers() { Byte.fill(-1); }
    int operator()(std::string_view piece) {
        if (piece.size() == 1) {
            int& number = Byte[static_cast<unsigned char>(piece[0])];
            if (number < 0) number = Count++;
            return number;
        }
        const auto [at, added] = Longer.emplace(piece, Count);
        Count += added;
        return at->second;
    }
};

// The figures of a line as realfromstring reads them: year, month and day of birth, size and weight.
struct Figures {
    double Year, Month, Day, Size, Weight;
};

// The values of a person's line, with piece(position, length) as midstring of the evaluation line.
template <typename Piece> void read(Person& p, PieceNumbers& numbers, Piece piece, const Figures& figures) {
    const std::string_view sex = piece(posSex, 1);
    p.Sex = numbers(sex);
    p.Religion = numbers(piece(posReligion, 1));
    p.Married = piece(posStatus, 1) == "5";
    p.WantsUnmarried = piece(posMarried, 1) == "0";
    p.WantsSameReligion = piece(posSameReligion, 1) == "1";
    p.WantsOtherSex = piece(posOtherSex, 1) == "1";

    // Each step is one rounded double operation in the written order; the build forbids contraction
    // into fused multiply-adds, which would change the points.
    const bool female = sex == "1";
    p.Birth = ((figures.Year - 1900) * 365 + figures.Month * 30.4 + figures.Day) / 365;
    if (female) p.Birth = p.Birth * 1.15;
    p.Size = figures.Size;
    if (female) p.Size = p.Size * 1.05;
    p.Weight = figures.Weight;
    if (female) p.Weight = p.Weight * 1.15;
}

template <typename Piece> Figures figures(Piece piece) {
    return {realfromstring(piece(posYear, 4)), realfromstring(piece(posMonth, 2)),
            realfromstring(piece(posDay, 2)), realfromstring(piece(posSize, 3)),
            realfromstring(piece(posWeight, 3))};
}

// Whether the bytes of a word that the mask keeps are all digits: their high half is 3, and adding 6 to the
// low half doesn't carry into it.
bool digitbytes(uint64_t word, uint64_t mask) {
    constexpr uint64_t high = 0xF0F0F0F0F0F0F0F0u, threes = 0x3030303030303030u, sixes = 0x0606060606060606u;
    return (word & high & mask) == (threes & mask) && ((word + sixes) & high & mask) == (threes & mask);
}

// The same figures from answers of one byte per character, where the date's eight bytes and the six of
// size and weight are digits, read a word at a time. answers[position - linePrefix - 1] is the character
// at position.
Figures figurebytes(const char* answers) {
    static_assert(posMonth == posYear + 4 && posDay == posMonth + 2 && posWeight == posSize + 3);
    uint64_t date, body;
    std::memcpy(&date, answers + posYear - linePrefix - 1, 8);
    std::memcpy(&body, answers + posSize - linePrefix - 1, 8);
    if constexpr (std::endian::native != std::endian::little) {
        date = __builtin_bswap64(date);
        body = __builtin_bswap64(body);
    }
    constexpr uint64_t six = 0x0000FFFFFFFFFFFFu;
    if (!digitbytes(date, ~uint64_t{0}) || !digitbytes(body, six)) {
        return figures([answers](Int position, Int length) {
            return std::string_view(answers + (position - linePrefix - 1), static_cast<size_t>(length));
        });
    }
    // The first byte is the lowest: pairs of digits as two-digit numbers in the 16-bit lanes.
    uint64_t pairs = date & 0x0F0F0F0F0F0F0F0Fu;
    pairs = (pairs * 10 + (pairs >> 8)) & 0x00FF00FF00FF00FFu;
    auto lane = [pairs](int k) { return static_cast<Int>((pairs >> (16 * k)) & 0xFFFF); };
    auto digit = [body](int k) { return static_cast<Int>((body >> (8 * k)) & 0x0F); };
    return {static_cast<double>(lane(0) * 100 + lane(1)), static_cast<double>(lane(2)),
            static_cast<double>(lane(3)), static_cast<double>(digit(0) * 100 + digit(1) * 10 + digit(2)),
            static_cast<double>(digit(3) * 100 + digit(4) * 10 + digit(5))};
}

// The digits of a line cut by characters: a byte is a digit or 0; a longer piece is a character with
// marks, read by its bytes.
template <typename Piece> void readdigits(Person& p, Piece piece) {
    for (Int k = 0; k < digitPositions; ++k) {
        const std::string_view digit = piece(digitPosition(k), 1);
        // A character holds one digit at most, with marks that don't count: 0 to 9 in any case.
        p.Digits[k / 8][k % 8] = static_cast<uint16_t>(
            digit.size() == 1 ? (digit[0] >= '0' && digit[0] <= '9' ? digit[0] - '0' : 0)
                              : integerfrombytes(digit));
    }
}

// The same for answers of one byte per character, 48 lanes in one loop that runs on vector registers.
// answers[position - linePrefix - 1] is the character at position.
void readdigitbytes(Person& p, const char* answers) {
    unsigned char bytes[48] = {};
    std::memcpy(bytes, answers + posStatus - linePrefix - 1, runOfDigits);
    bytes[runOfDigits] = static_cast<unsigned char>(answers[posReligion - linePrefix - 1]);
    bytes[runOfDigits + 1] = static_cast<unsigned char>(answers[posReligion - linePrefix]);
    uint16_t digits[48];
    for (size_t k = 0; k < 48; ++k) {
        const auto value = static_cast<unsigned char>(bytes[k] - '0');
        digits[k] = static_cast<uint16_t>(value < 10 ? value : 0);
    }
    std::memcpy(p.Digits, digits, sizeof digits);
}

// Sizes and weights from here on are left to the slow way: in the points loop the two distances, below 2^14
// each, share the 16-bit lanes with the digits' products.
constexpr double farOut = 8192;

// A cell of the participant table, read in place; the store keeps it while the report is made.
const std::string& cell(Int record, Int field) {
    static const std::string none;
    const Int at = d_GetDataIndex(ParticipantTable, record, field);
    return at >= 0 && static_cast<size_t>(at) < d_DataText.size() ? d_DataText[static_cast<size_t>(at)]
                                                                  : none;
}

// The person of a record, read into p; the padded name goes to the end of `names`.
void person(Person& p, Int record, PieceNumbers& numbers, std::string& names) {
    const std::string& name = cell(record, FieldName);
    p.Attribute = &cell(record, FieldAttribute);
    p.NameAt = names.size();
    p.NameBytes = name.size();
    names += name;
    const Int characters = onebytepercharacter(name) ? static_cast<Int>(name.size()) : charactercount(name);
    if (characters < 40) names.append(static_cast<size_t>(40 - characters), ' ');
    p.PaddedNameBytes = names.size() - p.NameAt;

    // Real answers are plain ASCII without a carriage return and reach the last demand: there the pieces
    // are cut by bytes, which gives the same text without the character rules.
    const std::string_view attribute = *p.Attribute;
    if (attribute.size() >= static_cast<size_t>(posOtherSex - linePrefix) && onebytepercharacter(attribute)) {
        // Every piece read lies in the answers, behind the blanks.
        const char* const answers = attribute.data();
        read(
            p, numbers,
            [answers](Int position, Int length) {
                return std::string_view(answers + (position - linePrefix - 1), static_cast<size_t>(length));
            },
            figurebytes(answers));
        readdigitbytes(p, answers);
    } else {
        Line line(attribute);
        auto piece = [&](Int position, Int length) { return line.piece(position, length); };
        read(p, numbers, piece, figures(piece));
        readdigits(p, piece);
    }
    Lanes squares = {};
    for (const Lanes& group : p.Digits) squares += group * group;
    p.Squares = lanesum(squares);
    p.Unusual |= !(std::fabs(p.Size) < farOut && std::fabs(p.Weight) < farOut);
}

// A distance cut towards zero. Only a hand-edited file brings distances beyond 2^60 (a year of "9e99");
// they are held there, so that the terms still add up without overflow.
Int cut(double distance) {
    constexpr double limit = 1152921504606846976.0;
    if (distance < limit) [[likely]]
        return static_cast<Int>(distance);
    return distance >= limit ? static_cast<Int>(limit) : 0;
}

// trunc(pow(x, 1.2)) by a table for the distances people have. Its whole part reaches n at a threshold, the
// least double with pow(x, 1.2) >= n, found by asking pow around n^(1/1.2). A quarter of a year passes at
// most one threshold, so each quarter holds the count below it and the threshold within it, if any. pow
// errs by less than an ulp, so it can only waver within two ulps of a threshold; the table checks four on
// either side, and where pow wavers there, or beyond the table, it sends the pair to pow.
struct PowerTable {
    static constexpr int perYear = 4, years = 384, last = perYear * years; // the last quarter: all beyond
    static constexpr Int ask = -(Int{1} << 48); // a count that makes the points negative
    struct Quarter {
        double Threshold; // in quarters; or infinite where none lies within
        Int Below;
    };
    std::vector<Quarter> Quarters;
    static bool reached(double x, Int n) { return std::pow(x, 1.2) >= static_cast<double>(n); }
    static double threshold(Int n) {
        double x = std::pow(static_cast<double>(n), 1 / 1.2);
        while (!reached(x, n)) x = std::nextafter(x, HUGE_VAL);
        while (reached(std::nextafter(x, 0.0), n)) x = std::nextafter(x, 0.0);
        return x;
    }
    static bool steady(double t, Int n) {
        double up = t, down = t;
        for (int i = 0; i < 4; ++i) {
            up = std::nextafter(up, HUGE_VAL);
            down = std::nextafter(down, 0.0);
            if (!reached(up, n) || reached(down, n)) return false;
        }
        return true;
    }
    PowerTable() {
        std::vector<double> thresholds = {0}; // thresholds[n] for n = 1, 2, ...
        std::vector<bool> steadies = {true};
        auto ensure = [&](Int n) {
            while (static_cast<Int>(thresholds.size()) <= n) {
                const Int m = static_cast<Int>(thresholds.size());
                thresholds.push_back(threshold(m));
                steadies.push_back(steady(thresholds.back(), m));
            }
        };
        Int n = 0; // thresholds 1 to n lie at or below the quarter's start
        for (int i = 0; i < last; ++i) {
            const double start = static_cast<double>(i) / perYear, end = static_cast<double>(i + 1) / perYear;
            ensure(n + 2);
            while (thresholds[static_cast<size_t>(n + 1)] <= start) ensure(++n + 2);
            const auto at = static_cast<size_t>(n);
            const double next = thresholds[at + 1];
            const bool clear =
                steadies[at] && steadies[at + 1] && steadies[at + 2] && thresholds[at + 2] >= end;
            if (!clear)
                Quarters.push_back({HUGE_VAL, ask});
            else
                Quarters.push_back({next < end ? next * perYear : HUGE_VAL, n});
        }
        Quarters.push_back({HUGE_VAL, ask});
    }
    // The whole part of x^1.2 for a distance x given in quarters, 4 x, or a negative number where pow must
    // be asked. Times 4 is exact, and so is the distance of two values times 4.
    Int powertrunc(double quarters) const {
        // NaN and all beyond go to the last quarter.
        const Quarter& q =
            Quarters[static_cast<size_t>(static_cast<int64_t>(quarters < last ? quarters : last))];
        return q.Below + (quarters >= q.Threshold);
    }
};

// The report is written through a cursor into a text grown ahead, so that a line costs a few fixed-size
// copies rather than appends that each check the room.
struct Writer {
    Report Text;
    size_t Room = 0, Used = 0;
    // Room for `bytes` more, and the slack beyond them.
    char* room(size_t bytes) {
        if (Used + bytes + slack > Room) [[unlikely]] {
            Room = std::max(Used + bytes + slack, Room * 2);
            std::unique_ptr<char[]> grown = std::make_unique_for_overwrite<char[]>(Room);
            if (Used > 0) std::memcpy(grown.get(), Text.Bytes.get(), Used);
            Text.Bytes = std::move(grown);
        }
        return Text.Bytes.get() + Used;
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

// Bytes of a candidate line beside the name: with usual points at most 16, "4.095 Punkte. *\r"; with any
// points at most 36.
constexpr size_t usualBeside = 16, anyBeside = 48;

// Sets of people as bits in record order: who is left out follows from three values of the candidate,
// so a person's candidates are a few whole-word operations on the sets of those values.
using Set = std::vector<uint64_t>;

// Everyone by one piece number, in the order of the numbers, and as a set for each number that has at least
// as many people as a set has words: so the sets take no more room than the people (a hand-edited file may
// give everyone a religion of their own).
struct Grouping {
    static constexpr uint32_t none = ~uint32_t{0};
    size_t Numbers;
    // From 0, where number n's people start in the members, for n up to Numbers; from Numbers + 1, where
    // number n's set starts in Bits, in words, or none; from 2 Numbers + 1, the members.
    std::vector<uint32_t> Table;
    Set Bits;
    uint32_t* start() { return Table.data(); }
    const uint32_t* start() const { return Table.data(); }
    const uint32_t* slot() const { return Table.data() + Numbers + 1; }
    const uint32_t* members() const { return Table.data() + 2 * Numbers + 1; }
    Grouping(const std::vector<Person>& people, size_t numbers, size_t words, int Person::*number)
        : Numbers(numbers), Table(2 * numbers + 1 + people.size()) {
        uint32_t* const starts = start();
        uint32_t* const slots = starts + numbers + 1;
        uint32_t* const members = slots + numbers;
        for (const Person& p : people) ++starts[static_cast<size_t>(p.*number) + 1];
        for (size_t n = 0; n < numbers; ++n) starts[n + 1] += starts[n];
        std::copy(starts, starts + numbers, slots); // first where the next member of each number goes
        for (size_t i = 0; i < people.size(); ++i)
            members[slots[static_cast<size_t>(people[i].*number)]++] = static_cast<uint32_t>(i);
        uint32_t held = 0;
        for (size_t n = 0; n < numbers; ++n)
            slots[n] = starts[n + 1] - starts[n] >= words ? held++ * static_cast<uint32_t>(words) : none;
        Bits.resize(held * words);
        for (size_t n = 0; n < numbers; ++n)
            if (slots[n] != none) set(n, Bits.data() + slots[n], words);
    }
    void set(size_t n, uint64_t* bits, size_t words) const {
        std::fill(bits, bits + words, 0);
        for (uint32_t k = start()[n]; k < start()[n + 1]; ++k)
            bits[members()[k] / 64] |= uint64_t{1} << (members()[k] % 64);
    }
    // Number n's set: held, or made in `scratch`.
    const uint64_t* of(size_t n, uint64_t* scratch, size_t words) const {
        if (slot()[n] != none) return Bits.data() + slot()[n];
        set(n, scratch, words);
        return scratch;
    }
};

// The candidates of everyone: person i's, from word i * Words on, are everyone else whom i's demands allow.
struct Candidates {
    size_t Words;
    Set Bits;
    Set Common; // padded names of more than 40 bytes, everyone, the unmarried, nobody, and two to make sets
                // in
    const uint64_t* wide() const { return Common.data(); }
    Candidates(const std::vector<Person>& people, int pieceNumbers)
        : Words((people.size() + 63) / 64), Bits(people.size() * Words), Common(6 * Words) {
        const auto numbers = static_cast<size_t>(pieceNumbers);
        const Grouping religion(people, numbers, Words, &Person::Religion),
            sex(people, numbers, Words, &Person::Sex);
        uint64_t *const wide = Common.data(), *const everyone = wide + Words,
                        *const unmarried = everyone + Words, *const nobody = unmarried + Words,
                        *const scratch = nobody + Words;
        for (size_t i = 0; i < people.size(); ++i) {
            const uint64_t bit = uint64_t{1} << (i % 64);
            everyone[i / 64] |= bit;
            if (!people[i].Married) unmarried[i / 64] |= bit;
            if (people[i].PaddedNameBytes > 40) wide[i / 64] |= bit;
        }
        for (size_t i = 0; i < people.size(); ++i) {
            const Person& p = people[i];
            const uint64_t* same =
                p.WantsSameReligion ? religion.of(static_cast<size_t>(p.Religion), scratch, Words) : everyone;
            const uint64_t* own =
                p.WantsOtherSex ? sex.of(static_cast<size_t>(p.Sex), scratch + Words, Words) : nobody;
            const uint64_t* marriage = p.WantsUnmarried ? unmarried : everyone;
            uint64_t* into = Bits.data() + i * Words;
            for (size_t w = 0; w < Words; ++w) into[w] = marriage[w] & same[w] & ~own[w];
            into[i / 64] &= ~(uint64_t{1} << (i % 64));
        }
    }
    const uint64_t* of(size_t i) const { return Bits.data() + i * Words; }
};

// The points and " Punkte." of the usual values, made once by pointstexts(). A text and its length fit in
// 16 bytes, so that one copy writes it.
struct PointsTexts {
    static constexpr Int usual = 4096;
    struct Made {
        char Bytes[15] = {};
        uint8_t Length = 0; // 12 or 13: "4.095 Punkte."
    };
    std::vector<Made> Usual = std::vector<Made>(usual);
    static std::string text(Int value) { return formatinteger(value, 32, 4, true) + " Punkte."; }
    PointsTexts() {
        for (Int value = 0; value < usual; ++value) {
            const std::string made = text(value);
            Made& to = Usual[static_cast<size_t>(value)];
            std::memcpy(to.Bytes, made.data(), made.size());
            to.Length = static_cast<uint8_t>(made.size());
        }
    }
};

const PointsTexts& pointstexts() {
    static const PointsTexts texts;
    return texts;
}

// The text of points beyond the usual, written at `at` with room for `slack` bytes more; gives its end.
[[gnu::noinline]] char* otherpoints(char* at, Int value) {
    std::string made = PointsTexts::text(value);
    const size_t length = made.size();
    made.append(slack, ' ');
    return copy(at, made.data(), length);
}

// The sum of the squared differences of two people's digits.
Int squaredistance(const Person& p, const Person& c) {
    Lanes sum = {};
    for (size_t g = 0; g < laneGroups; ++g) {
        const Lanes d = p.Digits[g] - c.Digits[g];
        sum += d * d;
    }
    return lanesum(sum);
}

// The points of a pair the slow way, for what the loop below can't take.
Int score(const Person& p, const Person& c) {
    return cut(std::pow(std::fabs(p.Birth - c.Birth), 1.2)) + squaredistance(p, c) +
           cut(std::fabs(p.Size - c.Size)) + cut(std::fabs(p.Weight - c.Weight));
}

// A person as the points loop reads a candidate. The sum of squared digit differences is worked out as
// a sum of products: sum (c - p)^2 = sum c^2 - 18 sum c + 3483 + sum c (18 - 2 p) + sum p^2 - 3483, where
// 3483 = 43 * 81 keeps the candidate's own part, held in the lane after the digits, from going below 0.
// So each lane's products and the whole sum stay below 2^16, with the size and weight added.
constexpr Int ownLane = digitPositions, ownOffset = digitPositions * 81;
struct alignas(64) Row {
    Lanes Digits[laneGroups];
    Doubles SizeWeight;
    double Quarters; // the birth value times 4; NaN for an unusual person, whose pairs go the slow way
};

Row row(const Person& p) {
    Row r;
    Lanes sum = {};
    for (size_t g = 0; g < laneGroups; ++g) {
        r.Digits[g] = p.Digits[g];
        sum += p.Digits[g];
    }
    r.Digits[ownLane / 8][ownLane % 8] = static_cast<uint16_t>(p.Squares - 18 * lanesum(sum) + ownOffset);
    // Zeros keep the loop's conversions in range; the pair's points are made the slow way anyway.
    r.SizeWeight = p.Unusual ? Doubles{} : Doubles{p.Size, p.Weight};
    r.Quarters = p.Unusual ? NAN : p.Birth * PowerTable::perYear;
    return r;
}

// The weights of p's digits: 18 - 2 p, and 1 for the candidate's own part.
struct Weighting {
    Lanes Base[laneGroups]; // 18 for a digit, 1 for the own part
    Weighting() {
        for (size_t k = 0; k < laneGroups * 8; ++k)
            Base[k / 8][k % 8] = static_cast<uint16_t>(k < digitPositions ? 18 : k == ownLane);
    }
};
void weights(const Person& p, Lanes (&weight)[laneGroups]) {
    static const Weighting weighting;
    for (size_t g = 0; g < laneGroups; ++g) weight[g] = weighting.Base[g] - 2 * p.Digits[g];
}

// What the lines need of a candidate.
struct Label {
    const char* Name; // padded, with `slack` bytes behind it
    uint32_t PaddedNameBytes;
    int32_t MarkSex; // the candidate's sex where they want the other one, else -1
};

// A person's candidates with their points, and room enough for their lines.
struct Section {
    size_t Count = 0, Bytes = 0;
    bool Usual = true; // all points have a text made up front
};

// Two distances cut to integers, in the low lanes and zeros above. SSE2's conversion gives the zeros itself.
inline Lanes cuts(Doubles apart) {
#if defined(__SSE2__)
    return reinterpret_cast<Lanes>(__builtin_ia32_cvttpd2dq(apart));
#else
    return reinterpret_cast<Lanes>(
        __builtin_shufflevector(__builtin_convertvector(apart, Pair), Pair{}, 0, 1, 2, 3));
#endif
}

// The set bits of each byte value: their positions in order, and how many.
struct BitPositions {
    Quad Position[256][2];
    uint8_t Count[256];
    BitPositions() {
        for (unsigned byte = 0; byte < 256; ++byte) {
            uint32_t at[8] = {};
            unsigned count = 0;
            for (unsigned bit = 0; bit < 8; ++bit)
                if (byte >> bit & 1) at[count++] = bit;
            std::memcpy(Position[byte], at, sizeof at);
            Count[byte] = static_cast<uint8_t>(count);
        }
    }
};

// The points of p against each candidate in the set, in record order: their indices go to `chosen`, the
// points to `scores`.
Section points(size_t pi, const std::vector<Person>& people, const Row* rows, size_t widest,
               const uint64_t* candidates, size_t words, uint32_t* chosen, Int* scores) {
    static const PowerTable power;
    Section section;
    // A byte of the set at a time: the positions of its bits from a table, all eight written and as many
    // kept as are set.
    static const BitPositions positions;
    for (size_t w = 0; w < words; ++w) {
        auto base = static_cast<uint32_t>(w * 64);
        for (uint64_t bits = candidates[w]; bits != 0; bits >>= 8, base += 8) {
            const size_t byte = bits & 0xFF;
            const Quad first = positions.Position[byte][0] + base,
                       second = positions.Position[byte][1] + base;
            std::memcpy(chosen + section.Count, &first, 16);
            std::memcpy(chosen + section.Count + 4, &second, 16);
            section.Count += positions.Count[byte];
        }
    }
    section.Bytes = section.Count * (widest + anyBeside);

    const Person& p = people[pi];
    Lanes weight[laneGroups];
    weights(p, weight);
    const Lanes w0 = weight[0], w1 = weight[1], w2 = weight[2], w3 = weight[3], w4 = weight[4],
                w5 = weight[5];
    const Words magnitude = {~uint64_t{0} >> 1, ~uint64_t{0} >> 1};
    const Doubles sizeweight = rows[pi].SizeWeight;
    const double quarters = rows[pi].Quarters;
    const Int own = p.Squares - ownOffset;
    auto lanes = [&](const Row& c) {
        const Lanes sum = c.Digits[0] * w0 + c.Digits[1] * w1 + c.Digits[2] * w2 + c.Digits[3] * w3 +
                          c.Digits[4] * w4 + c.Digits[5] * w5;
        // Size and weight: the two distances cut to integers, below 2^14 each, added as lanes.
        return sum + cuts(reinterpret_cast<Doubles>(reinterpret_cast<Words>(sizeweight - c.SizeWeight) &
                                                    magnitude));
    };
    // Candidates go in fours, so that their lanes are summed up together. The last four are filled up
    // with p, whose points go unused.
    for (size_t k = section.Count; k % 4 != 0; ++k) chosen[k] = static_cast<uint32_t>(pi);
    Int unsure = 0;
    for (size_t k = 0; k < section.Count; k += 4) {
        const Row *a = rows + chosen[k], *b = rows + chosen[k + 1], *c = rows + chosen[k + 2],
                  *d = rows + chosen[k + 3];
        const Lanes sa = lanes(*a), sb = lanes(*b), sc = lanes(*c), sd = lanes(*d);
        const Lanes ab = __builtin_shufflevector(sa, sb, 0, 1, 2, 3, 8, 9, 10, 11) +
                         __builtin_shufflevector(sa, sb, 4, 5, 6, 7, 12, 13, 14, 15);
        const Lanes cd = __builtin_shufflevector(sc, sd, 0, 1, 2, 3, 8, 9, 10, 11) +
                         __builtin_shufflevector(sc, sd, 4, 5, 6, 7, 12, 13, 14, 15);
        const Quad halves =
            reinterpret_cast<Quad>(__builtin_shufflevector(ab, cd, 0, 1, 4, 5, 8, 9, 12, 13) +
                                   __builtin_shufflevector(ab, cd, 2, 3, 6, 7, 10, 11, 14, 15));
        const Quad sums = (halves & 0xffff) + (halves >> 16);
        const Int sa0 = own + power.powertrunc(std::fabs(quarters - a->Quarters)) + sums[0];
        const Int sb0 = own + power.powertrunc(std::fabs(quarters - b->Quarters)) + sums[1];
        const Int sc0 = own + power.powertrunc(std::fabs(quarters - c->Quarters)) + sums[2];
        const Int sd0 = own + power.powertrunc(std::fabs(quarters - d->Quarters)) + sums[3];
        scores[k] = sa0;
        scores[k + 1] = sb0;
        scores[k + 2] = sc0;
        scores[k + 3] = sd0;
        unsure |= sa0 | sb0 | sc0 | sd0;
    }
    // Without a branch in the loop it holds p's weights in registers; the slow way comes after it. All points
    // together show whether any lies beyond the texts made up front.
    if (unsure < 0) {
        unsure = 0;
        for (size_t k = 0; k < section.Count; ++k) {
            if (scores[k] < 0) scores[k] = score(p, people[chosen[k]]);
            unsure |= scores[k];
        }
    }
    static_assert(std::has_single_bit(static_cast<uint64_t>(PointsTexts::usual)));
    section.Usual = unsure < PointsTexts::usual;
    return section;
}

// The candidate lines of p's section, written at `at` with room for all; gives their end.
// Where all names are short and all points usual, the loop is spared the checks.
template <bool Checked>
char* lines(char* at, int sex, const Label* labels, const uint32_t* chosen, const Int* scores, size_t count) {
    const PointsTexts::Made* const usual = pointstexts().Usual.data();
    for (size_t k = 0; k < count; ++k) {
        const Label& c = labels[chosen[k]];
        const char* const name = c.Name;
        const size_t padded = c.PaddedNameBytes;
        if (!Checked || padded <= 48) [[likely]] {
            std::memcpy(at, name, 16);
            std::memcpy(at + 16, name + 16, 16);
            std::memcpy(at + 32, name + 32, 16);
        } else {
            copy(at, name, padded);
        }
        at += padded;
        const Int points = scores[k];
        if (!Checked || static_cast<uint64_t>(points) < PointsTexts::usual) [[likely]] {
            std::memcpy(at, &usual[points], 16);
            at += usual[points].Length;
        } else {
            at = otherpoints(at, points);
        }
        // The line's end, and the candidate's mark before it where the candidate's own demand speaks
        // against this pairing: chosen without a branch, since it follows no pattern a branch could learn.
        const bool mark = c.MarkSex == sex;
        uint32_t end = mark ? ' ' | '*' << 8 | '\r' << 16 : '\r';
        if constexpr (std::endian::native == std::endian::big) end = __builtin_bswap32(end);
        std::memcpy(at, &end, 4);
        at += 1 + 2 * mark;
    }
    return at;
}

} // namespace

Report SeelenorakelReport() {
    const size_t count = static_cast<size_t>(std::max<Int>(Participants, 0));
    std::vector<Person> people;
    people.reserve(count);
    PieceNumbers numbers;
    std::string names;
    names.reserve(count * 48 + slack);
    for (Int record = 1; record <= Participants; ++record)
        person(people.emplace_back(), record, numbers, names);
    names.append(slack, ' '); // the name copies read up to 15 bytes past the last name
    const Candidates candidates(people, numbers.Count);
    std::vector<Row> rows(people.size());
    std::vector<Label> labels(people.size());
    size_t widest = 40;
    for (size_t i = 0; i < people.size(); ++i) {
        const Person& c = people[i];
        rows[i] = row(c);
        labels[i] = {names.data() + c.NameAt, static_cast<uint32_t>(c.PaddedNameBytes),
                     c.WantsOtherSex ? c.Sex : -1};
        widest = std::max(widest, c.PaddedNameBytes);
    }

    // The head of a section around the name, held with the slack for copy().
    constexpr std::string_view head = "Auswertung für ";
    static const std::string rule = "\r" + std::string(55, '-') + "\r",
                             heldHead = std::string(head).append(slack, ' '),
                             heldRule = rule + std::string(slack, ' '),
                             title = "Seelenorakel Auswertung\r" + std::string(23, '=') + "\r\r";
    // The candidates give the report's length before it is written, so the text is grown about once. A
    // section asks for room for the widest name and any points on every line, which the last one may need.
    size_t estimate = 256, mostLines = 0;
    for (size_t i = 0; i < people.size(); ++i) {
        const uint64_t* chosen = candidates.of(i);
        size_t lines = 0;
        for (size_t w = 0; w < candidates.Words; ++w) {
            lines += static_cast<size_t>(std::popcount(chosen[w]));
            for (uint64_t wide = chosen[w] & candidates.wide()[w]; wide != 0; wide &= wide - 1)
                estimate += people[w * 64 + static_cast<size_t>(std::countr_zero(wide))].PaddedNameBytes - 40;
        }
        estimate += head.size() + people[i].NameBytes + rule.size() + 1 + lines * (40 + usualBeside);
        mostLines = std::max(mostLines, lines);
    }
    estimate += mostLines * (widest - 40 + anyBeside - usualBeside);

    Writer report;
    report.room(estimate);
    report.put(title);
    std::vector<uint32_t> chosen(people.size() + 8);
    std::vector<Int> scores(people.size() + 3);
    for (size_t pi = 0; pi < people.size(); ++pi) {
        const Person& p = people[pi];
        // The points first, then the lines: neither loop waits on the other.
        const Section section = points(pi, people, rows.data(), widest, candidates.of(pi), candidates.Words,
                                       chosen.data(), scores.data());
        char* const start = report.room(head.size() + p.NameBytes + rule.size() + section.Bytes + 1);
        char* at = copy(start, heldHead.data(), head.size());
        at = copy(at, names.data() + p.NameAt, p.NameBytes);
        at = copy(at, heldRule.data(), rule.size());
        at = section.Usual && widest <= 48
                 ? lines<false>(at, p.Sex, labels.data(), chosen.data(), scores.data(), section.Count)
                 : lines<true>(at, p.Sex, labels.data(), chosen.data(), scores.data(), section.Count);
        *at++ = '\r';
        report.Used += static_cast<size_t>(at - start);
    }
    // The buffers hold the last person in hand, as after the loop through everyone.
    if (!people.empty()) {
        const Person& last = people.back();
        NameBuffer.assign(names, last.NameAt, last.NameBytes);
        AttributeBuffer.assign(static_cast<size_t>(linePrefix), ' ').append(*last.Attribute);
    }
    report.put("Je kleiner die Punktzahl, umso besser die Übereinstimmung.\r");
    report.put("*: Es wird das andere Geschlecht bevorzugt.\r");
    report.Text.Size = report.Used;
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
    const Report report = SeelenorakelReport();
    t_Print(window, report.text());
    setpasteboardstring(report.text());
    NameBuffer = "ende";
}

// The game's own routines: the report from stored participants (exclusions, marks, points and the layout of
// a line, worked out by hand one rounded double operation at a time), the pair suggestions drawn from it, and
// the phone form against the keyboard's limits with the page it shows.
#include "application/application.h"
#include "store/store.h"
#include "application/phone.h"
#include "testsupport.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using testsupport::People;

std::string report(const People& people) {
    testsupport::participants(people);
    return SeelenorakelReport();
}

const std::string title = "Seelenorakel Auswertung\r=======================\r\r";
const std::string footer = "Je kleiner die Punktzahl, umso besser die Übereinstimmung.\r"
                           "*: Es wird das andere Geschlecht bevorzugt.\r";

std::string section(const std::string& name, const std::vector<std::string>& lines = {}) {
    std::string text = "Auswertung für " + name + "\r" + std::string(55, '-') + "\r";
    for (const std::string& line : lines) text += line + "\r";
    return text + "\r";
}

// Born, sex, religion, nationality, size, weight, status, income, colour, 38 statements, 3 demands.
std::string answers(const std::string& born, char sex, const std::string& middle,
                    const std::string& statements, const std::string& demands) {
    return born + sex + middle + statements + demands;
}

// A candidate's line for a name of 12 characters, padded to 40; and two who list each other alike.
std::string hit(const std::string& name, const std::string& points) {
    return name + std::string(28, ' ') + points + " Punkte.";
}
std::string mutual(const std::string& a, const std::string& b, const std::string& points) {
    return section(a, {hit(b, points)}) + section(b, {hit(a, points)});
}

const std::string threes(38, '3'), statements = "12345123451234512345123451234512345123";
// A man and a woman born the same day, 170 cm and 60 kg each.
std::string man(const std::string& demands = "100", char status = '2') {
    return answers("19800101", '0', std::string("11170060") + status + "11", threes, demands);
}
std::string woman(const std::string& demands = "100") {
    return answers("19800101", '1', "11170060211", threes, demands);
}

TEST(Evaluation, ExclusionsMarksAndPoints) {
    struct Row {
        const char* name;
        People people;
        std::string sections;
    };
    const Row rows[] = {
        {"the worked example",
         {{"Anna Beispiel", answers("19750412", '1', "21168062231", statements, "110")},
          {"Karl Muster", answers("19701103", '0', "31182081144", threes, "001")}},
         section("Anna Beispiel") +
             section("Karl Muster", {"Anna Beispiel" + std::string(27, ' ') + " 128 Punkte."})},
        {"two who exclude each other",
         {{"Max Aaaaaaaa", man("001")}, {"Max Bbbbbbbb", man("001")}},
         section("Max Aaaaaaaa") + section("Max Bbbbbbbb")},
        {"twins have 0 points",
         {{"Zwilling Ein", man()}, {"Zwilling Two", man()}},
         mutual("Zwilling Ein", "Zwilling Two", "   0")},
        // Her weight value is 60 * 1.15, exactly 69 once rounded: 9, where a fused multiply-subtract gives 8.
        {"a woman and a man of 60 kg",
         {{"Frau Sechzig", woman()}, {"Mann Sechzig", man()}},
         mutual("Frau Sechzig", "Mann Sechzig", "  36")},
        {"a married candidate is left out only by a 0 to the first demand",
         {{"Ohne Ehering", man("000")}, {"Egal Ehering", man("100")}, {"Verheiratet1", man("100", '5')}},
         section("Ohne Ehering", {hit("Egal Ehering", "   0")}) +
             section("Egal Ehering", {hit("Ohne Ehering", "   0"), hit("Verheiratet1", "   9")}) +
             section("Verheiratet1", {hit("Ohne Ehering", "   9"), hit("Egal Ehering", "   9")})},
        {"the mark comes from the candidate's demand for the other sex",
         {{"Frau Anderes", woman("101")}, {"Frau Gleiche", woman("100")}},
         section("Frau Anderes") + section("Frau Gleiche", {hit("Frau Anderes", "   0") + " *"})},
        {"points of a thousand and more are grouped",
         {{"Alt Altmann1", answers("19000101", '0', "11120030111", std::string(38, '1'), "100")},
          {"Jung Jungfra", answers("21001231", '1', "55260250555", std::string(38, '5'), "100")}},
         mutual("Alt Altmann1", "Jung Jungfra", "1.784")},
        // Hand-edited Attribute strings: empty, short, letters, too long. Empty pieces read as 0.
        {"hand-edited lines read as far as they go",
         {{"Leer Leerman", ""},
          {"Kurz Kurzman", "19"},
          {"Buchstaben12", "abcdefghij"},
          {"Lang Langman", man() + "99999"}},
         section("Leer Leerman",
                 {hit("Kurz Kurzman", "  34"), hit("Buchstaben12", "   0"), hit("Lang Langman", "9.616")}) +
             section("Kurz Kurzman", {hit("Leer Leerman", "  34"), hit("Buchstaben12", "  34"),
                                      hit("Lang Langman", "9.512")}) +
             section("Buchstaben12", {hit("Leer Leerman", "   0"), hit("Kurz Kurzman", "  34"),
                                      hit("Lang Langman", "9.616")}) +
             section("Lang Langman", {hit("Leer Leerman", "9.616"), hit("Kurz Kurzman", "9.512"),
                                      hit("Buchstaben12", "9.616")})},
        // A year of "9e99" puts the first term beyond 2^60, where it is held; a size of "9e9" is far out too.
        {"figures far out",
         {{"Fern Fernman", answers("9e990101", '0', "119e9060211", threes, "100")}, {"Nahe Naheman", man()}},
         mutual("Fern Fernman", "Nahe Naheman", "1.152.921.513.606.846.806")},
        // A digit with a mark is one character: it reads as the digit, and the pieces behind it stay put.
        {"answers cut by characters",
         {{"Umlaut Fünfe", answers("19800101", '0', "11170060211", "5\u0308" + threes.substr(1), "100")},
          {"Glatte Fünfe", answers("19800101", '0', "11170060211", "5" + threes.substr(1), "100")}},
         mutual("Umlaut Fünfe", "Glatte Fünfe", "   0")},
        // Names are measured in characters: a combining umlaut pads like the precomposed one.
        {"names in characters, and none padded from 40 on",
         {{"Jörg Öztürk", man()}, {"Jo\u0308rg O\u0308ztu\u0308rk", man()}, {std::string(41, 'x'), man()}},
         section("Jörg Öztürk", {"Jo\u0308rg O\u0308ztu\u0308rk" + std::string(29, ' ') + "   0 Punkte.",
                                 std::string(41, 'x') + "   0 Punkte."}) +
             section("Jo\u0308rg O\u0308ztu\u0308rk", {"Jörg Öztürk" + std::string(29, ' ') + "   0 Punkte.",
                                                       std::string(41, 'x') + "   0 Punkte."}) +
             section(std::string(41, 'x'),
                     {"Jörg Öztürk" + std::string(29, ' ') + "   0 Punkte.",
                      "Jo\u0308rg O\u0308ztu\u0308rk" + std::string(29, ' ') + "   0 Punkte."})},
    };
    for (const Row& row : rows) EXPECT_EQ(report(row.people), title + row.sections + footer) << row.name;
}

using Sections = std::vector<std::vector<SeelenorakelCandidate>>;
using Pairing = std::vector<std::pair<int64_t, int64_t>>;

// a lists b with these points; both: each lists the other.
struct Listing {
    int64_t A, B, Points;
    bool Both = true;
};

Sections sections(int64_t people, const std::vector<Listing>& listings) {
    Sections s(static_cast<size_t>(people));
    auto list = [&s](int64_t p, int64_t c, int64_t points) {
        s[static_cast<size_t>(p - 1)].push_back({c, points, false});
    };
    for (const Listing& l : listings) {
        list(l.A, l.B, l.Points);
        if (l.Both) list(l.B, l.A, l.Points);
    }
    for (auto& section : s)
        std::sort(section.begin(), section.end(), [](auto& x, auto& y) { return x.Record < y.Record; });
    return s;
}

constexpr int64_t huge = int64_t{1} << 62;

TEST(Suggestions, PairingsKnownByHand) {
    struct Row {
        const char* Name;
        int64_t People;
        std::vector<Listing> Listings;
        Pairing Expected;
    } rows[] = {
        {"nobody allows 3", 3, {{1, 2, 50}, {3, 1, 1, false}, {3, 2, 1, false}}, {{1, 2}}},
        {"3 allows nobody", 3, {{1, 2, 50}, {1, 3, 1, false}, {2, 3, 1, false}}, {{1, 2}}},
        {"odd count", 5, {{1, 2, 10}, {2, 3, 10}, {3, 4, 12}, {4, 5, 10}, {1, 5, 1}}, {{1, 5}, {2, 3}}},
        {"greedy best pair first is worse",
         4,
         {{1, 2, 1}, {1, 3, 2}, {2, 4, 2}, {3, 4, 100}},
         {{1, 3}, {2, 4}}},
        {"more pairs before fewer points", 4, {{1, 2, 1}, {1, 3, 500}, {2, 4, 500}}, {{1, 3}, {2, 4}}},
        {"enormous points",
         4,
         {{1, 2, huge}, {3, 4, huge}, {1, 3, huge - 1}, {2, 4, huge - 1}, {1, 4, huge + 5}},
         {{1, 3}, {2, 4}}},
        {"nobody allowed", 2, {{1, 2, 3, false}}, {}},
    };
    for (const Row& row : rows) {
        const Sections s = sections(row.People, row.Listings);
        EXPECT_EQ(SeelenorakelPairing(s), row.Expected) << row.Name;
    }
}

TEST(Suggestions, TextNamesTheThreeBestAndThePairs) {
    const Sections s =
        sections(4, {{1, 2, 1234}, {1, 3, 2001}, {1, 4, 900, false}, {2, 3, 5}, {3, 4, 2001, false}});
    const std::vector<std::string> names = {"Anna Beispiel", "Karl Muster", "Lena Vogel", "Otto Hahn"};
    EXPECT_EQ(SeelenorakelSuggestionText(s, names),
              "Paarvorschläge\r"
              "==============\r"
              "\r"
              "Die drei Besten für jeden:\r"
              "Anna Beispiel: Otto Hahn (900), Karl Muster (1.234), Lena Vogel (2.001)\r"
              "Karl Muster: Lena Vogel (5), Anna Beispiel (1.234)\r"
              "Lena Vogel: Karl Muster (5), Anna Beispiel (2.001), Otto Hahn (2.001)\r"
              "Otto Hahn: niemand\r"
              "\r"
              "Paare, die einander zulassen:\r"
              "Karl Muster und Lena Vogel: 5 Punkte\r"
              "Ohne Partner: Anna Beispiel, Otto Hahn\r");
    // With everyone paired there is no line for those without.
    EXPECT_TRUE(SeelenorakelSuggestionText(sections(2, {{1, 2, 7}}), {"Ab", "Cd"})
                    .ends_with("Paare, die einander zulassen:\rAb und Cd: 7 Punkte\r"));
}

// The participant of the keyboard's whole-game test, as a phone posts it.
std::map<std::string, std::string> juergen() {
    auto f = SeelenorakelPhoneDecode(
        "vorname=J%C3%BCrgen&nachname=Wei%C3%9F&jahr=1981&monat=7&tag=3&geschlecht=0"
        "&religion=1&nationalitaet=1&groesse=178&gewicht=62&stand=2&einkommen=3&farbe=4"
        "&verheiratet=1&religion_gleich=0&anderes_geschlecht=0");
    for (size_t i = 0; i < statements.size(); ++i)
        f["aussage" + std::to_string(i + 1)] = statements.substr(i, 1);
    return f;
}

SeelenorakelPhoneForm read(const std::map<std::string, std::string>& fields) {
    std::string body;
    for (const auto& [name, value] : fields) {
        body += "&" + name + "=";
        for (unsigned char c : value)
            body += "%" + std::string(1, "0123456789ABCDEF"[c >> 4]) + "0123456789ABCDEF"[c & 15];
    }
    return SeelenorakelPhoneRead(body);
}

TEST(Phone, TheFormKeepsTheKeyboardsLimits) {
    // One field changed at a time: "field=value", and the day against the month and year given.
    const std::string good =
        "vorname=Ab|vorname=xxxxxxxxxxxxxxx|vorname=Ömerüäößüäößüäö|nachname=yyyyyyyyyyyyyyyyyyyy|"
        "jahr=1900|jahr=2100|monat=12|monat=007|tag=31|groesse=120|groesse=260|gewicht=30|"
        "gewicht=250|geschlecht=1|religion=5|farbe=1|anderes_geschlecht=1|"
        "jahr=2000&monat=2&tag=29|jahr=1996&monat=2&tag=29|jahr=1981&monat=4&tag=30";
    const std::string bad =
        "vorname=A|vorname=|vorname=xxxxxxxxxxxxxxxx|vorname=A\x01z|vorname=A\xff\xfe|"
        "vorname=A\x7fz|nachname=yyyyyyyyyyyyyyyyyyyyy|jahr=1899|jahr=2101|jahr=|jahr=19x1|"
        "jahr=-1981|monat=0|monat=13|tag=32|groesse=119|groesse=261|gewicht=29|gewicht=251|"
        "geschlecht=2|religion=0|farbe=6|aussage38=15|aussage38= 5|anderes_geschlecht=|"
        "jahr=1900&monat=2&tag=29|jahr=2100&monat=2&tag=29|jahr=1981&monat=4&tag=31";
    for (const auto& [rows, faulty] : {std::pair{good, false}, std::pair{bad, true}}) {
        std::istringstream in(rows);
        for (std::string row; std::getline(in, row, '|');) {
            auto fields = juergen();
            std::string last;
            for (const auto& [name, value] : SeelenorakelPhoneDecode(row)) fields[last = name] = value;
            const SeelenorakelPhoneForm form = read(fields);
            EXPECT_EQ(form.Faults.size(), faulty ? 1u : 0u) << row;
            EXPECT_EQ(form.Faults.count(last), faulty ? 1u : 0u) << row;
        }
    }
    auto fields = juergen();
    fields.erase("stand");
    EXPECT_EQ(read(fields).Faults.count("stand"), 1u);
    // The record is the one the keyboard makes of the same answers.
    const SeelenorakelPhoneForm whole = read(juergen());
    EXPECT_EQ(SeelenorakelNameText(whole.Answers), "Jürgen Weiß");
    EXPECT_EQ(SeelenorakelAttributeText(whole.Answers), "19810703011178062234" + statements + "100");
}

TEST(Phone, ThePageAsksEverythingAndShowsValuesEscaped) {
    const std::string page = SeelenorakelPhonePage({}, "");
    EXPECT_EQ(SeelenorakelPhoneFieldNames().size(), 54u);
    for (const std::string& name : SeelenorakelPhoneFieldNames())
        EXPECT_NE(page.find("name=\"" + name + "\""), std::string::npos) << name;
    for (const char* text : {"Ich mag Kinder.", ">1  Blau<", ">4  Grün<", "5   6401 .....", "viewport",
                             "Der gewünschte Partner soll meiner Religion angehören?"})
        EXPECT_NE(page.find(text), std::string::npos) << text;
    for (const char* outside : {"http:", "https:", "src=", "href=", "@import"})
        EXPECT_EQ(page.find(outside), std::string::npos) << outside;

    auto fields = juergen();
    fields["vorname"] = "\"><b>x";
    fields["jahr"] = "1899";
    const std::string again = SeelenorakelPhonePage(read(fields), "");
    EXPECT_NE(again.find("value=\"&quot;&gt;&lt;b&gt;x\""), std::string::npos);
    EXPECT_NE(again.find("name=\"stand\" value=\"2\" checked"), std::string::npos);
    EXPECT_NE(again.find("Bitte eine Zahl von 1900 bis 2100."), std::string::npos);
}

} // namespace

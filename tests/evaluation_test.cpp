// The evaluation's report from stored participants: exclusions, marks, points and the layout of a line.
// Expected points were worked out by hand from the rules, one rounded double operation at a time.
#include "application/application.h"
#include "store/store.h"
#include "testsupport.h"

#include <gtest/gtest.h>

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

const std::string threes(38, '3');
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
         {{"Anna Beispiel",
           answers("19750412", '1', "21168062231", "12345123451234512345123451234512345123", "110")},
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

} // namespace

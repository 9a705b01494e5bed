// The phone form against the keyboard's limits, and the page it shows: everything asked, nothing fetched,
// every value shown again escaped.
#include "application/phone.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

const std::string statements = "12345123451234512345123451234512345123";

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

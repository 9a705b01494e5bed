// The phone form against the keyboard's limits, the page it shows, and the hand-over that stores an answer
// exactly as the keyboard would, once, and never over someone else.
#include "application/phone.h"
#include "shell/phone.h"
#include "shell/platform.h"
#include "terminal/terminal.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

namespace {

const std::string statements = "12345123451234512345123451234512345123";

// The participant of the keyboard's whole-game test, as a phone posts it.
std::map<std::string, std::string> juergen() {
    std::map<std::string, std::string> f = {
        {"vorname", "Jürgen"}, {"nachname", "Weiß"}, {"jahr", "1981"},         {"monat", "7"},
        {"tag", "3"},          {"geschlecht", "0"},  {"religion", "1"},        {"nationalitaet", "1"},
        {"groesse", "178"},    {"gewicht", "62"},    {"stand", "2"},           {"einkommen", "3"},
        {"farbe", "4"},        {"verheiratet", "1"}, {"religion_gleich", "0"}, {"anderes_geschlecht", "0"}};
    for (size_t i = 0; i < statements.size(); ++i)
        f["aussage" + std::to_string(i + 1)] = statements.substr(i, 1);
    return f;
}

std::string encode(const std::map<std::string, std::string>& fields) {
    std::string body;
    for (const auto& [name, value] : fields) {
        body += (body.empty() ? "" : "&") + name + "=";
        for (unsigned char c : value) {
            static const char hex[] = "0123456789ABCDEF";
            if (std::isalnum(c))
                body += static_cast<char>(c);
            else
                body += std::string("%") + hex[c >> 4] + hex[c & 15];
        }
    }
    return body;
}

TEST(Phone, TheFormKeepsTheKeyboardsLimits) {
    const struct {
        const char* field;
        std::string value;
        bool good;
    } rows[] = {
        {"vorname", "Ab", true},
        {"vorname", "A", false},
        {"vorname", std::string(15, 'x'), true},
        {"vorname", std::string(16, 'x'), false},
        {"vorname", "Ömerüäößüäößüäö", true},
        {"vorname", "A\x01b", false},
        {"vorname", "A\xff\xfe", false},
        {"vorname",
         "A\x7f"
         "b",
         false},
        {"nachname", std::string(20, 'y'), true},
        {"nachname", std::string(21, 'y'), false},
        {"jahr", "1899", false},
        {"jahr", "1900", true},
        {"jahr", "2101", false},
        {"jahr", "", false},
        {"jahr", "19x1", false},
        {"jahr", "-1981", false},
        {"monat", "0", false},
        {"monat", "12", true},
        {"monat", "007", true},
        {"monat", "13", false},
        {"tag", "31", true},
        {"tag", "32", false},
        {"groesse", "119", false},
        {"groesse", "260", true},
        {"gewicht", "29", false},
        {"gewicht", "250", true},
        {"gewicht", "251", false},
        {"geschlecht", "1", true},
        {"geschlecht", "2", false},
        {"religion", "0", false},
        {"religion", "5", true},
        {"farbe", "6", false},
        {"aussage38", "15", false},
        {"aussage38", " 5", false},
        {"anderes_geschlecht", "1", true},
        {"anderes_geschlecht", "", false},
    };
    for (const auto& row : rows) {
        auto fields = juergen();
        fields[row.field] = row.value;
        const SeelenorakelPhoneForm form = SeelenorakelPhoneRead(encode(fields));
        EXPECT_EQ(form.Faults.count(row.field), row.good ? 0u : 1u) << row.field << "=" << row.value;
        EXPECT_EQ(form.Faults.size(), row.good ? 0u : 1u) << row.field << "=" << row.value;
    }
    // The day follows month and year, leap years included.
    const struct {
        const char *year, *month, *day;
        bool good;
    } days[] = {{"2000", "2", "29", true},  {"1996", "2", "29", true},  {"1900", "2", "29", false},
                {"2100", "2", "29", false}, {"1981", "4", "31", false}, {"1981", "4", "30", true}};
    for (const auto& d : days) {
        auto fields = juergen();
        fields["jahr"] = d.year, fields["monat"] = d.month, fields["tag"] = d.day;
        EXPECT_EQ(SeelenorakelPhoneRead(encode(fields)).Faults.empty(), d.good) << d.year << d.month << d.day;
    }
    // A missing field is a fault, and the record is the one the keyboard makes of the same answers.
    auto fields = juergen();
    fields.erase("stand");
    EXPECT_EQ(SeelenorakelPhoneRead(encode(fields)).Faults.count("stand"), 1u);
    const SeelenorakelPhoneForm form = SeelenorakelPhoneRead(encode(juergen()) + "&vorname=Zweiter");
    EXPECT_EQ(SeelenorakelNameText(form.Answers), "Jürgen Weiß");
    EXPECT_EQ(SeelenorakelAttributeText(form.Answers), "19810703011178062234" + statements + "100");
}

TEST(Phone, ThePageAsksEverythingAndEscapesWhatItShows) {
    const std::string page = SeelenorakelPhonePage({}, "");
    for (const std::string& name : SeelenorakelPhoneFieldNames())
        EXPECT_NE(page.find("name=\"" + name + "\""), std::string::npos) << name;
    EXPECT_EQ(SeelenorakelPhoneFieldNames().size(), 54u);
    for (const char* text :
         {"Ich mag Kinder.", "1  Blau", "4  Grün", "5   6401 .....", "Eingabe ihres Familienstandes",
          "Der gewünschte Partner soll meiner Religion angehören?", "viewport"})
        EXPECT_NE(page.find(text), std::string::npos) << text;
    // Nothing is fetched from anywhere.
    for (const char* outside : {"http:", "https:", "src=", "href=", "@import"})
        EXPECT_EQ(page.find(outside), std::string::npos) << outside;

    auto fields = juergen();
    fields["vorname"] = "\"><script>x</script>";
    fields["jahr"] = "1899";
    const SeelenorakelPhoneForm form = SeelenorakelPhoneRead(encode(fields));
    const std::string again = SeelenorakelPhonePage(form, "Bitte prüfen Sie die markierten Angaben.");
    EXPECT_EQ(again.find("<script>x"), std::string::npos);
    EXPECT_NE(again.find("value=\"&quot;&gt;&lt;script&gt;x&lt;/script&gt;\""), std::string::npos);
    EXPECT_NE(again.find("value=\"1899\""), std::string::npos);
    EXPECT_NE(again.find("name=\"stand\" value=\"2\" checked"), std::string::npos);
    EXPECT_NE(again.find("Bitte eine Zahl von 1900 bis 2100."), std::string::npos);
}

// The program thread's side: stored once, as the keyboard's store would leave the file, and refused
// whenever the name is someone else's.
TEST(Phone, AnswersAreStoredOnceAndNeverOverAnyone) {
    const auto folder = std::filesystem::temp_directory_path() / ("phone-test-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder / "Seelenorakel.app");
    setbundlepath((folder / "Seelenorakel.app").string());
    DataFilePath.clear();
    setplatformport(t_PlatformPort{}); // replies at once, on this thread
    testsupport::participants({{"Anna Beispiel", std::string(61, '1')}});
    SeelenorakelPhoneOpen();
    ASSERT_EQ(t_KeyWaitHook.load(), &SeelenorakelPhoneTake);

    auto send = [](const std::map<std::string, std::string>& fields) {
        t_PhoneReply reply{0, "", false};
        t_PhoneGame().Post(encode(fields), [&](const t_PhoneReply& r) { reply = r; });
        SeelenorakelPhoneTake();
        return reply;
    };
    auto anna = juergen();
    anna["vorname"] = "anna", anna["nachname"] = "BEISPIEL";
    auto typing = juergen();
    typing["vorname"] = "Karl", typing["nachname"] = "Muster";
    SeelenorakelKeyboardName = "karl muster";
    const struct {
        std::map<std::string, std::string> fields;
        int status;
        const char* says;
    } posts[] = {
        {juergen(), 200, "Danke, Jürgen Weiß! Ihre Antworten sind gespeichert."},
        {juergen(), 200, "Danke, Jürgen Weiß! Ihre Antworten sind bereits gespeichert."},
        {anna, 409, "Ihr Name ist bereits gespeichert."},
        {typing, 409, "Dieser Name wird gerade an der Tastatur eingegeben."},
    };
    for (const auto& post : posts) {
        const t_PhoneReply reply = send(post.fields);
        EXPECT_EQ(reply.Status, post.status) << post.says;
        EXPECT_NE(reply.Html.find(post.says), std::string::npos) << reply.Html;
        EXPECT_EQ(d_RecordsInTable(ParticipantTable), 2) << post.says;
    }
    SeelenorakelKeyboardName.clear();
    std::ifstream in(DataFilePath, std::ios::binary);
    const std::string file{std::istreambuf_iterator<char>(in), {}};
    EXPECT_EQ(file, d_DumpDatabase(true, true, false));
    EXPECT_NE(
        file.find("\r f0        S:Jürgen Weiß\r f1        S:19810703011178062234" + statements + "100\r"),
        std::string::npos);

    SeelenorakelPhoneClose();
    EXPECT_EQ(t_KeyWaitHook.load(), nullptr);
    EXPECT_EQ(send(typing).Status, 503);
    EXPECT_EQ(d_RecordsInTable(ParticipantTable), 2);
    std::filesystem::remove_all(folder);
    setbundlepath("");
    DataFilePath.clear();
}

TEST(Phone, JoinCodesAreShortAndUnalike) {
    std::set<std::string> codes;
    for (int i = 0; i < 100; ++i) {
        const std::string code = t_PhoneJoinCode();
        EXPECT_EQ(code.find_first_not_of("23456789abcdefghjkmnpqrstuvwxyz"), std::string::npos) << code;
        EXPECT_EQ(code.size(), 8u);
        codes.insert(code);
    }
    EXPECT_EQ(codes.size(), 100u);
}

} // namespace

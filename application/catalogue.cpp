// The questionnaire's texts, limits and statements, and the Attribute digits made of one participant's
// answers. The keyboard questionnaire and the phone page both take them from here.
#include "application/catalogue.h"

const SeelenorakelNameField SeelenorakelFirstName{
    "Vorname : ", 15, "Ihr Vorname ist zu lang: Er soll max. 15 Buchstaben lang sein."};
const SeelenorakelNameField SeelenorakelLastName{
    "Nachname: ", 20, "Ihr Nachname ist zu lang: Er soll max. 20 Buchstaben lang sein."};
const char* const SeelenorakelNameShorten = "Bitte kürzen Sie ihn sinnvoll ab! Dabei keinen Punkt verwenden!";

const SeelenorakelNumber SeelenorakelYear{"Eingabe des Geburtsjahres (JJJJ): ", 1900, 2100};
const SeelenorakelNumber SeelenorakelMonth{"Eingabe des Geburtsmonates  (MM): ", 1, 12};
const SeelenorakelNumber SeelenorakelDay{"Eingabe des Geburtstages    (TT): ", 1, 31};
const SeelenorakelNumber SeelenorakelSize{"Ihre Größe   (cm): ", 120, 260};
const SeelenorakelNumber SeelenorakelWeight{"Ihre Gewicht (kg): ", 30, 250};

const char* const SeelenorakelSexLines[2] = {"Geben sie eine 1 ein, falls sie weiblich",
                                             "bzw. eine 0 falls sie männlich sind: "};

const SeelenorakelMenu SeelenorakelReligion{
    "Ihre Religion: ",
    {"1  Katholisch", "2  Evangelisch", "3  Keine Religionsgemeinschaft", "4  Jüdisch", "5  Sonstige"},
    16,
    true};
const SeelenorakelMenu SeelenorakelNationality{"Ihre Staatsangehörigkeit: ",
                                               {"1  Deutsch", "2  Österreich", "3  Benelux, Frankreich",
                                                "4  Sonstige innerhalb der EG", "5  Außerhalb der EG"},
                                               27,
                                               true};
const SeelenorakelMenu SeelenorakelStatus{
    "Eingabe ihres Familienstandes: ",
    {"1  Geschieden", "2  Ledig", "3  Verwitwet", "4  Verlobt", "5  Verheiratet"},
    32,
    true};
const SeelenorakelMenu SeelenorakelIncome{
    "Eingabe ihres monatlichen Einkommens: ",
    {"1      0 ...  800", "2    801 ... 1600", "3   1601 ... 3200", "4   3201 ... 6400", "5   6401 ....."},
    39,
    true};
const SeelenorakelMenu SeelenorakelColour{
    "Eingabe ihrer Lieblingsfarbe: ",
    {"1  Blau        4  Grün", "2  Rot         5  Gelb", "3  Keine der Genannten"},
    31,
    false};

const char* const SeelenorakelStatements[SeelenorakelStatementCount] = {
    "Ich bin sehr selbstständig",
    "Ich mag Ausländer",
    "Ich interessiere mich für Politik",
    "Politik ist Männersache",
    "Die Emanzipation der Frau muss weitergehen",
    "Ich arbeite engagiert für den Frieden",
    "Ich bin gegen einen Kernwaffenstop",
    "Ich bin für eine stärkere Staatsgewalt",
    "Schwarze und Weisse sollten getrennt bleiben",
    "Hausbesetzungen sind grundsätzlich kriminell",
    "Ladendiebstahl ist ein Kavaliersdelikt",
    "Ich mag Kinder",
    "Ich möchte gerne (mehr) Kinder haben",
    "Eine strenge Erziehung hat noch Keinem geschadet",
    "Treue ist wichtig für eine dauerhafte Beziehung",
    "Vertrauen ist die Grundlage einer Freundschaft",
    "Ich verliebe mich sehr leicht",
    "Eine dauerhafte Beziehung ist nichts für mich",
    "Für mein Privatleben habe ich zu wenig Zeit",
    "Die Uhr diktiert meinen Tagesablauf",
    "Ich bin mit meinem bisherigen Leben zufrieden",
    "Der Freitod ist eine Folgerung aus dem Recht auf ein würdiges Leben",
    "Ich glaube an Gott",
    "Die Entwicklung des Menschen ist ein Evolutionsprozess",
    "Es gibt ein Leben nach dem Tode",
    "Ich reise gerne",
    "Meinen Urlaub verbringe ich hauptsächlich in den Bergen",
    "Ich fahre gerne an die See",
    "Ich lese gerne",
    "Theater und/oder Kino sind (ist) meine Leidenschaft",
    "Ich betreibe aktiv Sport",
    "Für Fußball interesiere ich mich sehr",
    "Schach ist für mich keine Sportart",
    "In der Regel falle ich abends müde ins Bett",
    "Ich gehe gerne abends aus",
    "In großen Gesellschaften fühle ich mich wohl",
    "Ich habe einen großen Bekanntenkreis",
    "Freunde zu finden fällt mir nicht besonders schwer",
};
const char* const SeelenorakelScaleIntro = "Bewerten sie die folgenden Aussagen mit den Tasten 1 bis 5.";
const char* const SeelenorakelScale[5] = {"1  Ja, stimmt genau", "2  Stimmt teilweise, stimmt vielleicht",
                                          "3  Ich habe dazu keine Meinung, ich weiß nicht",
                                          "4  Stimmt eher nicht, vielleicht nicht",
                                          "5  Nein, das stimmt nicht, bestimmt nicht"};

const char* const SeelenorakelDemandIntro[2] = {
    "Antworten sie jetzt mit 1, falls sie die nun folgenden Fragen mit Ja,",
    "oder mit 0, falls sie die Fragen mit Nein beantworten möchten."};
const char* const SeelenorakelDemands[3] = {"Der gewünschte Partner darf verheiratet sein? ",
                                            "Der gewünschte Partner soll meiner Religion angehören? ",
                                            "Der gewünschte Partner soll dem anderen Geschlecht angehören? "};

namespace {

// The decimal text in a fixed width: behind a "0", cut to its last digits when that is too long.
std::string fixedwidth(Int value, size_t width) {
    std::string text = "0" + std::to_string(value);
    return text.size() > width ? text.substr(text.size() - width) : text;
}

} // namespace

std::string SeelenorakelNameText(const SeelenorakelAnswers& a) {
    return a.FirstName + " " + a.LastName;
}

std::string SeelenorakelAttributeText(const SeelenorakelAnswers& a) {
    std::string text = std::to_string(a.Year) + fixedwidth(a.Month, 2) + fixedwidth(a.Day, 2);
    for (Int n : {a.Sex, a.Religion, a.Nationality}) text += std::to_string(n);
    text += std::to_string(a.Size) + fixedwidth(a.Weight, 3);
    for (Int n : {a.Status, a.Income, a.Colour}) text += std::to_string(n);
    for (Int n : a.Statements) text += std::to_string(n);
    for (Int n : a.Demands) text += std::to_string(n);
    return text;
}

// The questionnaire for phones: one field per answer the keyboard takes, checked against the keyboard's
// own limits; the page in German for a phone's screen, with no outside resource and no need for script;
// and the queue from the server (main thread) to the program thread, which stores as the keyboard does.
#include "application/phone.h"

#include "application/application.h"
#include "library/library.h"
#include "shell/phone.h"
#include "shell/platform.h"
#include "shell/shell.h"
#include "store/store.h"
#include "terminal/terminal.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <climits>
#include <deque>
#include <functional>
#include <mutex>

namespace {

enum class Kind { Name, Number, Choice };

// One field of the form: what it asks (a name, a number typed in, or one of a few choices), its limits and
// where its answer goes.
struct Field {
    std::string Name;
    Kind Type;
    const SeelenorakelNameField* NameField = nullptr;
    const SeelenorakelNumber* Number = nullptr;
    const SeelenorakelMenu* Menu = nullptr;
    Int Lowest = 0, Highest = 0;
    std::function<Int&(SeelenorakelAnswers&)> Slot;
};

const std::vector<Field>& fields() {
    static const std::vector<Field> table = [] {
        using A = SeelenorakelAnswers;
        std::vector<Field> t;
        auto number = [&](const char* name, const SeelenorakelNumber& n, Int A::*slot) {
            t.push_back({name, Kind::Number, nullptr, &n, nullptr, n.Lowest, n.Highest,
                         [slot](A& a) -> Int& { return a.*slot; }});
        };
        auto choice = [&](std::string name, const SeelenorakelMenu* menu, Int lowest, Int highest,
                          std::function<Int&(A&)> slot) {
            t.push_back(
                {std::move(name), Kind::Choice, nullptr, nullptr, menu, lowest, highest, std::move(slot)});
        };
        t.push_back({"vorname", Kind::Name, &SeelenorakelFirstName, nullptr, nullptr, 0, 0, {}});
        t.push_back({"nachname", Kind::Name, &SeelenorakelLastName, nullptr, nullptr, 0, 0, {}});
        number("jahr", SeelenorakelYear, &A::Year);
        number("monat", SeelenorakelMonth, &A::Month);
        number("tag", SeelenorakelDay, &A::Day);
        choice("geschlecht", nullptr, 0, 1, [](A& a) -> Int& { return a.Sex; });
        choice("religion", &SeelenorakelReligion, 1, 5, [](A& a) -> Int& { return a.Religion; });
        choice("nationalitaet", &SeelenorakelNationality, 1, 5, [](A& a) -> Int& { return a.Nationality; });
        number("groesse", SeelenorakelSize, &A::Size);
        number("gewicht", SeelenorakelWeight, &A::Weight);
        choice("stand", &SeelenorakelStatus, 1, 5, [](A& a) -> Int& { return a.Status; });
        choice("einkommen", &SeelenorakelIncome, 1, 5, [](A& a) -> Int& { return a.Income; });
        choice("farbe", &SeelenorakelColour, 1, 5, [](A& a) -> Int& { return a.Colour; });
        for (size_t i = 0; i < SeelenorakelStatementCount; ++i)
            choice("aussage" + std::to_string(i + 1), nullptr, 1, 5,
                   [i](A& a) -> Int& { return a.Statements[i]; });
        const char* demands[] = {"verheiratet", "religion_gleich", "anderes_geschlecht"};
        for (size_t i = 0; i < 3; ++i)
            choice(demands[i], nullptr, 0, 1, [i](A& a) -> Int& { return a.Demands[i]; });
        return t;
    }();
    return table;
}

// Valid UTF-8 without control characters: what the keyboard's form field can hold.
bool printable(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(std::min<size_t>(text.size(), INT32_MAX));
    if (static_cast<size_t>(length) != text.size()) return false;
    for (int32_t i = 0; i < length;) {
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c < 32 || (c >= 127 && c < 160)) return false;
    }
    return true;
}

std::string range(Int lowest, Int highest) {
    return "Bitte eine Zahl von " + std::to_string(lowest) + " bis " + std::to_string(highest) + ".";
}

// What is wrong with the value, or nothing; a good number or choice is written to its slot.
std::string fault(const Field& f, const std::string& value, SeelenorakelAnswers& a) {
    if (f.Type == Kind::Name) {
        if (!printable(value)) return "Bitte keine Steuerzeichen.";
        const Int n = charactercount(value);
        if (n > f.NameField->Limit) return f.NameField->TooLong;
        if (n < SeelenorakelNameShortest) return "Bitte mindestens 2 Buchstaben.";
        (&f == &fields()[0] ? a.FirstName : a.LastName) = value;
        return {};
    }
    const bool choice = f.Type == Kind::Choice;
    // The keyboard takes digits (a number field also a leading minus, which no range lets through).
    bool digits = !value.empty() && value.size() <= (choice ? 1u : 25u);
    for (size_t i = 0; i < value.size() && digits; ++i)
        digits = (value[i] >= '0' && value[i] <= '9') || (!choice && i == 0 && value[i] == '-');
    const Int n = digits ? integerfrombytes(bytesfromstring(value)) : LLONG_MIN;
    // The day's limit once year and month are good (they are written only then).
    const Int days = t_DaysInMonth(a.Month, a.Year);
    const Int highest = &f == &fields()[4] && days > 0 ? days : f.Highest;
    if (n < f.Lowest || n > highest) {
        return choice ? "Bitte wählen Sie eine Antwort." : range(f.Lowest, highest);
    }
    f.Slot(a) = n;
    return {};
}

int hexdigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string urldecode(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '+') {
            out += ' ';
        } else if (s[i] == '%' && i + 2 < s.size() && hexdigit(s[i + 1]) >= 0 && hexdigit(s[i + 2]) >= 0) {
            out += static_cast<char>(hexdigit(s[i + 1]) * 16 + hexdigit(s[i + 2]));
            i += 2;
        } else {
            out += s[i];
        }
    }
    return out;
}

// A prompt of the keyboard as a heading: without the colon and the blanks behind it.
std::string heading(std::string_view prompt) {
    while (!prompt.empty() && (prompt.back() == ' ' || prompt.back() == ':')) prompt.remove_suffix(1);
    return SeelenorakelHtmlEscape(prompt);
}

// The choices of a menu, from its lines: a digit at the start of a line or behind two blanks, followed by
// two blanks, begins one ("1  Blau        4  Grün" holds two).
std::vector<std::pair<Int, std::string>> menuchoices(const SeelenorakelMenu& menu) {
    std::vector<std::pair<Int, std::string>> choices;
    for (std::string_view line : menu.Lines) {
        std::vector<size_t> starts;
        for (size_t i = 0; i + 2 < line.size(); ++i)
            if (line[i] >= '1' && line[i] <= '5' && line.substr(i + 1, 2) == "  " &&
                (i == 0 || (i >= 2 && line.substr(i - 2, 2) == "  ")))
                starts.push_back(i);
        for (size_t k = 0; k < starts.size(); ++k) {
            std::string_view text =
                line.substr(starts[k], k + 1 < starts.size() ? starts[k + 1] - starts[k] : line.npos);
            while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
            choices.emplace_back(line[starts[k]] - '0', std::string(text));
        }
    }
    std::sort(choices.begin(), choices.end());
    return choices;
}

const char* const style =
    "body{font-family:sans-serif;margin:0 auto;max-width:40em;padding:0.5em;font-size:18px;line-height:1.4}"
    "fieldset{border:1px solid #bbb;border-radius:8px;margin:0.8em 0;padding:0.5em}"
    "legend{font-weight:bold;padding:0 0.3em}"
    "input[type=text],input[type=number]{font-size:20px;width:100%;box-sizing:border-box;padding:0.5em;"
    "min-height:48px}"
    ".w{display:flex;flex-wrap:wrap;gap:6px}"
    ".w label{flex:1 1 auto;display:flex;align-items:center;min-height:48px;padding:0 0.6em;"
    "border:1px solid #999;border-radius:8px;background:#f4f4f4}"
    ".s label{flex:1 1 0;justify-content:center}"
    ".w input{width:24px;height:24px;margin-right:0.4em}"
    ".f{border:2px solid #c00;background:#fff0f0}.m{color:#c00;font-weight:bold}"
    "button{font-size:22px;width:100%;min-height:56px;margin:1em 0;border-radius:8px}";

// Keeps the answers in the phone's storage while the page is filled, so that a reload loses nothing.
const char* const script =
    "<script>(function(){var f=document.forms[0];if(!f||!window.localStorage)return;var k='seelenorakel';"
    "var s={};try{s=JSON.parse(localStorage.getItem(k)||'{}')}catch(e){}"
    "for(var i=0;i<f.elements.length;i++){var e=f.elements[i];if(!(e.name in s))continue;"
    "if(e.type=='radio'){if(!f.querySelector('input[name=\"'+e.name+'\"]:checked'))e.checked=e.value==s[e."
    "name]}"
    "else if(!e.value)e.value=s[e.name]}"
    "f.addEventListener('change',function(){var o={};for(var i=0;i<f.elements.length;i++){var "
    "e=f.elements[i];"
    "if(e.name&&(e.type!='radio'||e.checked))o[e.name]=e.value}localStorage.setItem(k,JSON.stringify(o))})"
    "})()</script>";

std::string document(std::string_view body, bool keep) {
    return "<!DOCTYPE html><html lang=\"de\"><head><meta charset=\"utf-8\">"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
           "<title>Das Seelenorakel</title><style>" +
           std::string(style) + "</style></head><body><h1>Das Seelenorakel</h1>" + std::string(body) +
           (keep ? script : "<script>try{localStorage.removeItem('seelenorakel')}catch(e){}</script>") +
           "</body></html>\n";
}

std::string message(std::string_view text) {
    return "<p class=\"m\">" + std::string(text) + "</p>";
}

struct Writer {
    const SeelenorakelPhoneForm& Form;
    std::string Out;

    std::string value(const std::string& name) const {
        const auto at = Form.Values.find(name);
        return at == Form.Values.end() ? std::string() : at->second;
    }
    void open(const Field& f, const std::string& legend, bool scale) {
        const auto bad = Form.Faults.find(f.Name);
        Out += "<fieldset" + std::string(bad != Form.Faults.end() ? " class=\"f\"" : "") + "><legend>" +
               legend + "</legend>";
        if (bad != Form.Faults.end()) Out += message(SeelenorakelHtmlEscape(bad->second));
        Out += scale ? "<div class=\"w s\">" : "<div class=\"w\">";
    }
    void choices(const Field& f, const std::string& legend,
                 const std::vector<std::pair<Int, std::string>>& list, bool scale = false) {
        open(f, legend, scale);
        const std::string kept = value(f.Name);
        for (const auto& [digit, text] : list) {
            const std::string v = std::to_string(digit);
            Out += "<label><input type=\"radio\" name=\"" + f.Name + "\" value=\"" + v + "\"" +
                   (kept == v ? " checked" : "") + ">" + SeelenorakelHtmlEscape(text) + "</label>";
        }
        Out += "</div></fieldset>";
    }
    void input(const Field& f, const char* prompt, bool text) {
        open(f, heading(prompt), false);
        Out += "</div><input name=\"" + f.Name + "\" " +
               (text ? "type=\"text\" autocomplete=\"off\" maxlength=\"" +
                           std::to_string(f.NameField->Limit) + "\""
                     : "type=\"number\" inputmode=\"numeric\" min=\"" + std::to_string(f.Lowest) +
                           "\" max=\"" + std::to_string(f.Highest) + "\"") +
               " value=\"" + SeelenorakelHtmlEscape(value(f.Name)) + "\"></fieldset>";
    }
};

// --- The hand-over to the program thread ---

struct Waiting {
    SeelenorakelAnswers Answers;
    std::function<void(const t_PhoneReply&)> Done;
};

std::mutex queueLock;
std::deque<Waiting> queue;
bool accepting = false;

void reply(std::function<void(const t_PhoneReply&)> done, t_PhoneReply r) {
    t_RunOnMainThreadAsync([done = std::move(done), r = std::move(r)] { done(r); });
}

t_PhoneReply closedreply() {
    return {503, document(message("Die Runde nimmt keine Antworten mehr an."), false), false};
}

// The form again, its answers kept and both names marked.
t_PhoneReply namerefused(const SeelenorakelAnswers& a, const std::string& why) {
    SeelenorakelPhoneForm form;
    for (const Field& f : fields()) {
        if (f.Type == Kind::Name) continue;
        SeelenorakelAnswers copy = a;
        form.Values[f.Name] = std::to_string(f.Slot(copy));
    }
    form.Values["vorname"] = a.FirstName;
    form.Values["nachname"] = a.LastName;
    form.Faults["vorname"] = form.Faults["nachname"] = why;
    return {409, SeelenorakelPhonePage(form, why), false};
}

t_PhoneReply take(const SeelenorakelAnswers& a) {
    const std::string name = SeelenorakelNameText(a);
    const Int record = d_SearchUniqueRecord(ParticipantTable, FieldName, name, false);
    const std::string thanks = "Danke, " + SeelenorakelHtmlEscape(name) + "! ";
    if (record >= 0) {
        // The same form once more, as a phone sends it after a lost connection.
        if (d_GetData(ParticipantTable, record, FieldName) == name &&
            d_GetData(ParticipantTable, record, FieldAttribute) == SeelenorakelAttributeText(a))
            return {200, document(message(thanks + "Ihre Antworten sind bereits gespeichert."), false),
                    false};
        debuglog("SeelenorakelPhoneTake: '" + name + "' is stored already; refused.");
        return namerefused(a,
                           "Ihr Name ist bereits gespeichert. Ändern können Sie Ihre Eintragung nur an der "
                           "Tastatur.");
    }
    if (!SeelenorakelKeyboardName.empty() &&
        lowercasestring(SeelenorakelKeyboardName) == lowercasestring(name)) {
        debuglog("SeelenorakelPhoneTake: '" + name + "' is being typed at the keyboard; refused.");
        return namerefused(a, "Dieser Name wird gerade an der Tastatur eingegeben. Bitte geben Sie Ihren "
                              "Namen anders ein.");
    }
    const int64_t stored = SeelenorakelStore(-1, a);
    Participants = d_RecordsInTable(ParticipantTable);
    t_SystemConsoleAppend("Per Telefon gespeichert: " + name + " (Teilnehmer " + std::to_string(stored) +
                          ")");
    return {200, document(message(thanks + "Ihre Antworten sind gespeichert."), false), true};
}

void post(std::string_view body, std::function<void(const t_PhoneReply&)> done) {
    SeelenorakelPhoneForm form = SeelenorakelPhoneRead(body);
    if (!form.Faults.empty()) {
        std::string names;
        for (const auto& [name, why] : form.Faults) names += (names.empty() ? "" : ", ") + name;
        debuglog("SeelenorakelPhonePost: A form with faults in " + names + ".");
        done({400, SeelenorakelPhonePage(form, "Bitte prüfen Sie die markierten Angaben."), false});
        return;
    }
    std::lock_guard<std::mutex> lock(queueLock);
    if (!accepting) {
        done(closedreply());
        return;
    }
    queue.push_back({std::move(form.Answers), std::move(done)});
}

} // namespace

std::string SeelenorakelHtmlEscape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&#39;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::vector<std::string> SeelenorakelPhoneFieldNames() {
    std::vector<std::string> names;
    for (const Field& f : fields()) names.push_back(f.Name);
    return names;
}

std::map<std::string, std::string> SeelenorakelPhoneDecode(std::string_view body) {
    std::map<std::string, std::string> values;
    while (!body.empty()) {
        const size_t end = body.find('&');
        const std::string_view pair = body.substr(0, end);
        body = end == body.npos ? std::string_view() : body.substr(end + 1);
        const size_t equals = pair.find('=');
        values.emplace(urldecode(pair.substr(0, equals)),
                       equals == pair.npos ? std::string() : urldecode(pair.substr(equals + 1)));
    }
    return values;
}

SeelenorakelPhoneForm SeelenorakelPhoneRead(std::string_view body) {
    SeelenorakelPhoneForm form;
    const std::map<std::string, std::string> all = SeelenorakelPhoneDecode(body);
    for (const Field& f : fields()) {
        const auto at = all.find(f.Name);
        const std::string value = at == all.end() ? std::string() : at->second;
        form.Values[f.Name] = value;
        std::string why = fault(f, value, form.Answers);
        if (!why.empty()) form.Faults[f.Name] = std::move(why);
    }
    return form;
}

std::string SeelenorakelPhonePage(const SeelenorakelPhoneForm& form, std::string_view note) {
    const std::vector<Field>& f = fields();
    Writer w{form, {}};
    w.Out += "<p>Partnersuche für die ganze Runde</p>";
    if (!note.empty()) w.Out += message(SeelenorakelHtmlEscape(note));
    w.Out += "<form method=\"post\" action=\"\" accept-charset=\"utf-8\">";
    w.input(f[0], SeelenorakelFirstName.Prompt, true);
    w.input(f[1], SeelenorakelLastName.Prompt, true);
    w.input(f[2], SeelenorakelYear.Prompt, false);
    w.input(f[3], SeelenorakelMonth.Prompt, false);
    w.input(f[4], SeelenorakelDay.Prompt, false);
    const std::vector<std::pair<Int, std::string>> yesno = {{1, "1"}, {0, "0"}};
    w.choices(f[5], heading(std::string(SeelenorakelSexLines[0]) + " " + SeelenorakelSexLines[1]), yesno);
    w.choices(f[6], heading(f[6].Menu->Heading), menuchoices(*f[6].Menu));
    w.choices(f[7], heading(f[7].Menu->Heading), menuchoices(*f[7].Menu));
    w.input(f[8], SeelenorakelSize.Prompt, false);
    w.input(f[9], SeelenorakelWeight.Prompt, false);
    for (size_t i = 10; i < 13; ++i) w.choices(f[i], heading(f[i].Menu->Heading), menuchoices(*f[i].Menu));
    w.Out += "<h2>" + SeelenorakelHtmlEscape(SeelenorakelScaleIntro) + "</h2><p>Dabei bedeutet:</p><ul>";
    for (const char* line : SeelenorakelScale) w.Out += "<li>" + SeelenorakelHtmlEscape(line) + "</li>";
    w.Out += "</ul>";
    const std::vector<std::pair<Int, std::string>> scale = {{1, "1"}, {2, "2"}, {3, "3"}, {4, "4"}, {5, "5"}};
    for (size_t i = 0; i < SeelenorakelStatementCount; ++i)
        w.choices(f[13 + i], SeelenorakelHtmlEscape(SeelenorakelStatements[i]) + ".", scale, true);
    w.Out += "<p>" + SeelenorakelHtmlEscape(SeelenorakelDemandIntro[0]) + " " +
             SeelenorakelHtmlEscape(SeelenorakelDemandIntro[1]) + "</p>";
    for (size_t i = 0; i < 3; ++i) w.choices(f[51 + i], heading(SeelenorakelDemands[i]), yesno);
    w.Out += "<button type=\"submit\">Antworten senden</button></form>";
    return document(w.Out, true);
}

void SeelenorakelPhoneOpen() {
    {
        std::lock_guard<std::mutex> lock(queueLock);
        accepting = true;
    }
    t_KeyWaitHook.store(&SeelenorakelPhoneTake);
    t_PhoneInstall({[] { return SeelenorakelPhonePage({}, ""); }, post});
}

void SeelenorakelPhoneClose() {
    std::deque<Waiting> left;
    {
        std::lock_guard<std::mutex> lock(queueLock);
        accepting = false;
        left.swap(queue);
    }
    t_KeyWaitHook.store(nullptr);
    for (Waiting& w : left) reply(std::move(w.Done), closedreply());
    t_PhoneStop();
}

void SeelenorakelPhoneTake() {
    std::deque<Waiting> taken;
    {
        std::lock_guard<std::mutex> lock(queueLock);
        taken.swap(queue);
    }
    for (Waiting& w : taken) reply(std::move(w.Done), take(w.Answers));
}

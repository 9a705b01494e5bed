// The phone form's reader and page: any body is read without harm; what it accepts keeps the keyboard's
// limits and makes a record of 61 digits; and the page that shows the values again has exactly the
// elements of the empty form, so that no value can add one.
#include "application/phone.h"
#include "fuzz/entry.h"
#include "library/library.h"

namespace {

size_t count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

} // namespace

int fuzzphone(const uint8_t* data, size_t size) {
    const std::string_view body(reinterpret_cast<const char*>(data), size);
    const SeelenorakelPhoneForm form = SeelenorakelPhoneRead(body);
    if (form.Faults.empty()) {
        const std::string attribute = SeelenorakelAttributeText(form.Answers);
        if (attribute.size() != 61 || attribute.find_first_not_of("0123456789") != std::string::npos)
            __builtin_trap();
        const Int first = charactercount(form.Answers.FirstName),
                  last = charactercount(form.Answers.LastName);
        if (first < 2 || first > 15 || last < 2 || last > 20) __builtin_trap();
    }
    static const std::string empty = SeelenorakelPhonePage({}, "");
    const std::string page = SeelenorakelPhonePage(form, "");
    for (const char* tag : {"<input", "<script", "<label", "<form", "</fieldset>"})
        if (count(page, tag) != count(empty, tag)) __builtin_trap();
    return 0;
}

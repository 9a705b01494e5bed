// The questionnaire as a page for phones: the form's fields and their checks, taken from the catalogue the
// keyboard uses; the page; and the hand-over of accepted answers to the program thread, which stores
// them as the keyboard does. Plain C++: the server that carries the pages lives in the host.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "application/catalogue.h"

// A posted form read and checked: the values as sent (to show them again), the fields at fault with what
// to tell about each, and the answers when there is no fault.
struct SeelenorakelPhoneForm {
    std::map<std::string, std::string> Values;
    std::map<std::string, std::string> Faults;
    SeelenorakelAnswers Answers;
};

// The names of the form's fields, in the order the keyboard asks.
std::vector<std::string> SeelenorakelPhoneFieldNames();
// Reads a body of type application/x-www-form-urlencoded; the first of repeated fields counts.
std::map<std::string, std::string> SeelenorakelPhoneDecode(std::string_view body);
SeelenorakelPhoneForm SeelenorakelPhoneRead(std::string_view body);
// The page: the form with the values given, the faulty fields marked, and a note above it (may be empty).
std::string SeelenorakelPhonePage(const SeelenorakelPhoneForm& form, std::string_view note);
std::string SeelenorakelHtmlEscape(std::string_view text);

// Program thread: from the load on, the host may serve the page and answers are taken while the program
// waits for a key; from the close on (the evaluation, the end) no answer is taken any more.
void SeelenorakelPhoneOpen();
void SeelenorakelPhoneClose();
// Program thread, while it waits for a key: stores what the phones sent since the last call.
void SeelenorakelPhoneTake();

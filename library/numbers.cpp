// Numbers as German texts (comma for the point, dots between thousands) and texts as numbers, read
// forgivingly: a text that isn't a number reads as 0, never as an error.
#include "library/library.h"
#include "shell/shell.h"

#include <charconv>
#include <cmath>

namespace {

constexpr Int maxDecimals = 32767;

// Digits with "." in front of every group of three counted from the right.
std::string groupdigits(std::string_view digits) {
    std::string out;
    out.reserve(digits.size() + digits.size() / 3);
    for (size_t i = 0; i < digits.size(); ++i) {
        if ((digits.size() - i) % 3 == 0 && !out.empty()) out.push_back('.');
        out.push_back(digits[i]);
    }
    return out;
}

std::string fillfront(std::string text, Int fill, Int width) {
    const Int length = charactercount(text);
    if (length >= width || fill < 0) return text;
    return repeatstring(stringfromscalar(fill), width - length) + text;
}

bool isdigit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

std::string stringfromreal(double x) {
    // Plain notation for ordinary sizes; exponent form from 1e16 up and below 1e-4.
    const double a = std::fabs(x);
    const bool plain = a == 0 || (a >= 1e-4 && a < 1e16);
    char buf[64];
    const auto r = std::to_chars(buf, buf + sizeof buf, x,
                                 plain ? std::chars_format::fixed : std::chars_format::scientific);
    std::string t(buf, r.ptr);
    for (char& c : t)
        if (c == '.') c = ',';
    if (t.size() >= 3 && t.compare(t.size() - 2, 2, ",0") == 0) t.resize(t.size() - 2);
    return t;
}

std::string formatinteger(Int value, Int fill, Int width, bool group) {
    char buf[24];
    const auto r = std::to_chars(buf, buf + sizeof buf, value);
    std::string_view digits(buf, static_cast<size_t>(r.ptr - buf));
    const bool negative = !digits.empty() && digits[0] == '-';
    if (negative) digits.remove_prefix(1);
    std::string text = group ? groupdigits(digits) : std::string(digits);
    if (negative) text.insert(0, 1, '-');
    // The text is ASCII, so with a printable ASCII fill its bytes are its characters; the evaluation
    // formats a million numbers this way.
    if (fill >= ' ' && fill < 0x7F) {
        if (width <= static_cast<Int>(text.size())) return text;
        return std::string(static_cast<size_t>(width) - text.size(), static_cast<char>(fill)) + text;
    }
    return fillfront(std::move(text), fill, width);
}

std::string formatreal(Int fill, Int width, Int decimals, bool group, double value) {
    const std::string t = stringfromreal(value);
    // A word such as "inf" or "nan" comes back as it is; only the first character tells, so "-inf" doesn't.
    if (!t.empty() && static_cast<uint8_t>(t[0]) >= 64) return t;

    std::string_view mantissa = t;
    Int exponent = 0;
    if (const size_t e = t.find('e'); e != std::string::npos) {
        std::string_view behind = std::string_view(t).substr(e + 1);
        if (!behind.empty() && behind[0] == '+') behind.remove_prefix(1);
        exponent = integerfrombytes(behind);
        mantissa = mantissa.substr(0, e);
    }
    const bool negative = !mantissa.empty() && mantissa[0] == '-';
    if (negative) mantissa.remove_prefix(1);
    std::string integer, fraction;
    if (const size_t comma = mantissa.find(','); comma != std::string_view::npos) {
        integer = mantissa.substr(0, comma);
        fraction = mantissa.substr(comma + 1);
    } else {
        integer = mantissa;
    }
    if (exponent > 0) {
        const std::string joined = integer + fraction;
        const size_t integerLength = integer.size() + static_cast<size_t>(exponent);
        if (joined.size() >= integerLength) {
            integer = joined.substr(0, integerLength);
            fraction = joined.substr(integerLength);
        } else {
            integer = joined + std::string(integerLength - joined.size(), '0');
            fraction.clear();
        }
    } else if (exponent < 0) {
        fraction = std::string(static_cast<size_t>(-exponent - 1), '0') + integer + fraction;
        integer = "0";
    }
    if (group) integer = groupdigits(integer);
    if (negative) integer.insert(0, 1, '-');
    std::string result = fillfront(std::move(integer), fill, width);

    const bool tooMany = decimals > maxDecimals || decimals < -maxDecimals;
    const Int digits = tooMany ? maxDecimals : (decimals < 0 ? -decimals : decimals);
    if (tooMany)
        debuglog("formatreal: " + std::to_string(decimals) + " decimals are too many, giving " +
                 std::to_string(maxDecimals) + ".");
    if (digits < 1) {
        fraction.clear();
    } else {
        if (fraction.size() > static_cast<size_t>(digits)) fraction.resize(static_cast<size_t>(digits));
        fraction.resize(static_cast<size_t>(digits), '0');
    }
    if (decimals < 0)
        while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
    if (!fraction.empty()) result.append(",").append(fraction);
    return result;
}

Int integerfrombytes(std::string_view b) {
    size_t i = 0;
    while (i < b.size() && b[i] == ' ') ++i;
    if (i == b.size()) return 0;
    const bool negative = b[i] == '-';
    if (negative) ++i;
    while (i < b.size() && b[i] == ' ') ++i;
    uint64_t value = 0; // wraps instead of overflowing: values beyond 64 bits aren't checked
    for (; i < b.size() && isdigit(b[i]); ++i) value = value * 10 + static_cast<uint64_t>(b[i] - '0');
    return static_cast<Int>(negative ? 0 - value : value);
}

Int integerfrombytes(const Text& bytes) {
    return integerfrombytes(
        std::string_view(reinterpret_cast<const char*>(bytes.Elements.data()), bytes.Elements.size()));
}

double realfromstring(std::string_view s) {
    const bool negative = !s.empty() && s[0] == '-';
    const std::string_view r = negative ? s.substr(1) : s;
    // p as a 0-based offset: the first non-digit, or the end. Leading digits are the integer part as
    // integerfrombytes reads it, wrapping alike; only other starts go through it.
    size_t p = 0;
    uint64_t whole = 0;
    for (; p < r.size() && isdigit(r[p]); ++p) whole = whole * 10 + static_cast<uint64_t>(r[p] - '0');
    double value = 0;
    if (p + 1 < r.size() && (r[p] == ',' || r[p] == '.')) {
        size_t end = p + 1;
        while (end < r.size() && isdigit(r[end])) ++end;
        if (end > p + 1) {
            std::string digits = "0.";
            digits.append(r.substr(p + 1, end - p - 1));
            std::from_chars(digits.data(), digits.data() + digits.size(), value);
        }
        p = end;
    }
    value += static_cast<double>(p > 0 || r.empty() ? static_cast<Int>(whole) : integerfrombytes(r));
    if (p < r.size() && (r[p] == 'e' || r[p] == 'E')) {
        const Int power = integerfrombytes(r.substr(p + 1));
        // Stops once the value is 0 or infinite, where more steps change nothing.
        for (Int i = 0; i < power && value != 0 && std::isfinite(value); ++i) value *= 10;
        for (Int i = 0; i > power && value != 0 && std::isfinite(value); --i) value /= 10;
    }
    if (negative) value = -value;
    return value;
}

Text bytesfrominteger(Int value) {
    char buf[24];
    const auto r = std::to_chars(buf, buf + sizeof buf, value);
    Text t;
    t.Elements.assign(buf, r.ptr);
    return t;
}

Text hexfrom16(Int value) {
    Text t;
    for (int shift = 12; shift >= 0; shift -= 4) t.Elements.push_back(t_HexDigit[(value >> shift) & 15]);
    return t;
}

Text hexfrom32(Int value) {
    Text t;
    for (int shift = 28; shift >= 0; shift -= 4) t.Elements.push_back(t_HexDigit[(value >> shift) & 15]);
    return t;
}

std::string stringfromhex32(Int value) {
    const Text t = hexfrom32(value);
    return std::string(t.Elements.begin(), t.Elements.end());
}

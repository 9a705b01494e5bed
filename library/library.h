// Text and number library: strings are UTF-8 in std::string, positions count grapheme clusters from 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using Int = int64_t;

// The toolkit's byte string: one byte a character of the 8-bit character set.
struct Text {
    std::vector<uint8_t> Elements;
};
int comparetext(const Text& a, const Text& b); // -1, 0 or 1
bool operator==(const Text& a, const Text& b);
bool operator<(const Text& a, const Text& b);
size_t hashtext(const Text& t);
template <> struct std::hash<Text> {
    size_t operator()(const Text& t) const noexcept { return hashtext(t); }
};

// Hexadecimal digit tables, filled by initkbtools before any other thread runs.
extern uint8_t t_HexDigit[16];
extern Int t_HexValue[256];
void initkbtools();

// Strings.
Int charactercount(std::string_view s);
std::string charatposition(std::string_view s, Int position);
std::string fromposition(std::string_view s, Int position);
std::string midstring(std::string_view s, Int start, Int length);
Int instring(std::string_view s, std::string_view searched, Int start);
std::string repeatstring(std::string_view s, Int count);
std::string spacestring(Int count);
std::string padstring(std::string_view left, std::string_view right, Int width);
std::string firstline(std::string_view s);
std::pair<std::string, std::string> nextfield(std::string_view s);
std::string pathfolder(std::string_view path);
std::string pathfilename(std::string_view path);
Int ascfromstring(std::string_view s);
Int loweredasc(Int code);
std::string lowercasestring(std::string_view s);
std::string stringfromscalar(Int scalar);
// True when no byte of s is above 127.
bool plainascii(std::string_view s);
// The scalar of the UTF-8 sequence at s[i] (i < size), moving i behind it; a malformed sequence gives -1
// and moves i by one byte.
Int nextscalar(std::string_view s, size_t& i);
// True when s is well-formed UTF-8.
bool wellformedutf8(std::string_view s);
// The string with ill-formed UTF-8 replaced by U+FFFD the way ICU converts it; well-formed input comes back
// as is.
std::string cleanutf8(std::string_view s);
Text filledbytes(uint8_t byte, Int count);
Text bytesfromstring(std::string_view s);
std::string stringfrombytes(const Text& bytes);

// Numbers.
std::string stringfromreal(double x);
std::string formatinteger(Int value, Int fill, Int width, bool group);
std::string formatreal(Int fill, Int width, Int decimals, bool group, double value);
Int integerfrombytes(const Text& bytes);
Int integerfrombytes(std::string_view bytes);
double realfromstring(std::string_view s);
Text bytesfrominteger(Int value);
Text hexfrom16(Int value);
Text hexfrom32(Int value);
std::string stringfromhex32(Int value);

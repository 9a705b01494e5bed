// String positions from 1, counted in user-perceived characters (grapheme clusters, by ICU), where a
// carriage return and line feed count as one; plain ASCII texts take a path without the break iterator,
// since nearly all of the game's texts are ASCII and the screen and evaluation ask for them often.
#include "library/library.h"
#include "shell/shell.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>

// Characters are extended grapheme clusters. Plain ASCII never reaches ICU: there every byte is a
// character of its own except CR LF, which is one.

namespace {

constexpr Int maxRepeat = 32767;

// A string ready to be walked by characters. Ill-formed UTF-8 is replaced once, here, so every
// routine sees the same characters and hands back well-formed text.
struct Source {
    std::string_view s;
    std::string fixed;
    bool ascii = true;
    bool noCarriageReturn = true; // ASCII only: every byte is a character
    uint64_t id = 0;
};

thread_local uint64_t lastSourceId = 0;
thread_local uint64_t boundSourceId = 0;
thread_local std::unique_ptr<icu::BreakIterator> graphemes;
thread_local bool graphemesTried = false;

void prepare(Source& src, std::string_view in) {
    src.id = ++lastSourceId;
    src.ascii = plainascii(in);
    src.noCarriageReturn = src.ascii && std::memchr(in.data(), '\r', in.size()) == nullptr;
    if (src.ascii || wellformedutf8(in)) {
        src.s = in;
    } else {
        src.fixed = cleanutf8(in);
        src.s = src.fixed;
    }
}

// The thread's grapheme iterator, set to src. Null when ICU could not make one; the caller then
// steps by scalars.
icu::BreakIterator* bind(const Source& src) {
    if (!graphemesTried) {
        graphemesTried = true;
        UErrorCode status = U_ZERO_ERROR;
        graphemes.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status)) graphemes.reset();
        if (!graphemes)
            debuglog(std::string("charactercount: No grapheme iterator from ICU (") + u_errorName(status) +
                     "), counting scalars instead.");
    }
    if (!graphemes || src.s.size() > static_cast<size_t>(INT32_MAX)) return nullptr;
    if (boundSourceId != src.id) {
        UErrorCode status = U_ZERO_ERROR;
        UText ut = UTEXT_INITIALIZER;
        utext_openUTF8(&ut, src.s.data(), static_cast<int64_t>(src.s.size()), &status);
        graphemes->setText(&ut, status); // keeps its own shallow clone of ut
        utext_close(&ut);
        if (U_FAILURE(status)) return nullptr;
        boundSourceId = src.id;
    }
    return graphemes.get();
}

// Byte offset of the character boundary behind the one at `at` (at < size).
size_t nextbound(const Source& src, size_t at) {
    const std::string_view s = src.s;
    if (src.ascii) return (s[at] == '\r' && at + 1 < s.size() && s[at + 1] == '\n') ? at + 2 : at + 1;
    if (icu::BreakIterator* bi = bind(src)) {
        const int32_t next = bi->following(static_cast<int32_t>(at));
        return next == icu::BreakIterator::DONE ? s.size() : std::min(static_cast<size_t>(next), s.size());
    }
    ++at;
    while (at < s.size() && U8_IS_TRAIL(static_cast<uint8_t>(s[at]))) ++at;
    return at;
}

// Byte offset of the character boundary in front of the one at `at` (at > 0).
size_t prevbound(const Source& src, size_t at) {
    const std::string_view s = src.s;
    if (src.ascii) return (at >= 2 && s[at - 2] == '\r' && s[at - 1] == '\n') ? at - 2 : at - 1;
    if (icu::BreakIterator* bi = bind(src)) {
        const int32_t prev = bi->preceding(static_cast<int32_t>(at));
        return prev == icu::BreakIterator::DONE ? 0 : static_cast<size_t>(prev);
    }
    --at;
    while (at > 0 && U8_IS_TRAIL(static_cast<uint8_t>(s[at]))) --at;
    return at;
}

bool isbound(const Source& src, size_t at) {
    const std::string_view s = src.s;
    if (at == 0 || at >= s.size()) return true;
    if (src.ascii) return !(s[at - 1] == '\r' && s[at] == '\n');
    if (icu::BreakIterator* bi = bind(src)) return bi->isBoundary(static_cast<int32_t>(at));
    return !U8_IS_TRAIL(static_cast<uint8_t>(s[at]));
}

// Advances up to n characters from the boundary `at`; `taken` tells how many there were.
size_t skip(const Source& src, size_t at, Int n, Int& taken) {
    taken = 0;
    const std::string_view s = src.s;
    if (n <= 0) return at;
    if (src.noCarriageReturn) {
        const size_t step = std::min(static_cast<size_t>(n), s.size() - at);
        taken = static_cast<Int>(step);
        return at + step;
    }
    while (taken < n && at < s.size()) {
        at = nextbound(src, at);
        ++taken;
    }
    return at;
}

Int countfrom(const Source& src, size_t at, size_t end) {
    const std::string_view s = src.s;
    if (src.ascii) {
        Int n = static_cast<Int>(end - at);
        for (const char* p = s.data() + at;
             (p = static_cast<const char*>(std::memchr(p, '\r', s.data() + end - p))); ++p)
            if (p + 1 < s.data() + end && p[1] == '\n') --n;
        return n;
    }
    Int n = 0;
    while (at < end) {
        at = nextbound(src, at);
        ++n;
    }
    return n;
}

std::string piece(const Source& src, size_t from, size_t to) {
    return std::string(src.s.substr(from, to - from));
}

// The character [a, b) is exactly the ASCII character c.
bool ischar(const Source& src, size_t a, size_t b, char c) {
    return b == a + 1 && src.s[a] == c;
}

// Blanks, tabs and the other space separators, when they stand alone as a character.
bool isblankchar(const Source& src, size_t a, size_t b) {
    if (b == a + 1) return src.s[a] == ' ' || src.s[a] == '\t';
    size_t i = a;
    const Int c = nextscalar(src.s, i);
    return i == b && c >= 0 && u_charType(static_cast<UChar32>(c)) == U_SPACE_SEPARATOR;
}

// Offset of the last character that is exactly c, or npos.
size_t lastchar(const Source& src, char c) {
    for (size_t end = src.s.size(); end > 0;) {
        const size_t at = src.s.rfind(c, end - 1);
        if (at == std::string_view::npos) break;
        if (isbound(src, at) && isbound(src, at + 1)) return at;
        end = at;
    }
    return std::string_view::npos;
}

} // namespace

Int charactercount(std::string_view s) {
    Source src;
    prepare(src, s);
    return countfrom(src, 0, src.s.size());
}

std::string charatposition(std::string_view s, Int position) {
    if (position < 1) return {};
    Source src;
    prepare(src, s);
    Int taken = 0;
    const size_t from = skip(src, 0, position - 1, taken);
    if (taken < position - 1 || from >= src.s.size()) return {};
    return piece(src, from, nextbound(src, from));
}

std::string fromposition(std::string_view s, Int position) {
    Source src;
    prepare(src, s);
    if (position < 2) return std::string(src.s);
    Int taken = 0;
    const size_t from = skip(src, 0, position - 1, taken);
    return piece(src, from, src.s.size());
}

std::string midstring(std::string_view s, Int start, Int length) {
    if (length < 1) return {};
    Source src;
    prepare(src, s);
    Int taken = 0;
    size_t from = 0;
    if (start >= 2) {
        from = skip(src, 0, start - 1, taken);
        if (from >= src.s.size()) return {};
    }
    const size_t to = skip(src, from, length, taken);
    return piece(src, from, to);
}

Int instring(std::string_view s, std::string_view searched, Int start) {
    if (searched.empty()) return 0;
    Source src;
    prepare(src, s);
    Int taken = 0;
    const size_t from = start < 2 ? 0 : skip(src, 0, start - 1, taken);
    if (from >= src.s.size()) return 0;

    Source pat;
    prepare(pat, searched);
    if (src.ascii && pat.ascii) {
        // An occurrence has to begin and end on character boundaries, so "\n" isn't found inside CR LF.
        for (size_t at = src.s.find(pat.s, from); at != std::string_view::npos;
             at = src.s.find(pat.s, at + 1))
            if (isbound(src, at) && isbound(src, at + pat.s.size())) return countfrom(src, from, at) + start;
        return 0;
    }

    // Canonically equivalent texts match: both sides in NFD, the text one character at a time so that
    // each match can be mapped back to the character it begins with.
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status) || nfd == nullptr) {
        debuglog(std::string("instring: No NFD normaliser from ICU (") + u_errorName(status) + ").");
        return 0;
    }
    auto decompose = [&](std::string_view text) {
        icu::UnicodeString u = icu::UnicodeString::fromUTF8(
            icu::StringPiece(text.data(), static_cast<int32_t>(std::min<size_t>(text.size(), INT32_MAX))));
        UErrorCode st = U_ZERO_ERROR;
        icu::UnicodeString d = nfd->normalize(u, st);
        return U_SUCCESS(st) ? d : u;
    };
    const icu::UnicodeString needle = decompose(pat.s);
    icu::UnicodeString hay;
    std::vector<int32_t> starts; // offset in hay of each character of the text, then hay's length
    for (size_t at = from; at < src.s.size();) {
        const size_t next = nextbound(src, at);
        starts.push_back(hay.length());
        if (next == at + 1 && static_cast<uint8_t>(src.s[at]) < 0x80)
            hay.append(static_cast<char16_t>(src.s[at]));
        else
            hay.append(decompose(src.s.substr(at, next - at)));
        at = next;
    }
    starts.push_back(hay.length());
    for (int32_t at = hay.indexOf(needle); at >= 0; at = hay.indexOf(needle, at + 1)) {
        const auto first = std::lower_bound(starts.begin(), starts.end(), at);
        if (first == starts.end() || *first != at) continue;
        if (!std::binary_search(starts.begin(), starts.end(), at + needle.length())) continue;
        return static_cast<Int>(first - starts.begin()) + start;
    }
    return 0;
}

std::string repeatstring(std::string_view s, Int count) {
    if (count < 1 || count > maxRepeat || s.empty()) return {};
    Source src;
    prepare(src, s);
    std::string out;
    out.reserve(src.s.size() * static_cast<size_t>(count));
    for (Int i = 0; i < count; ++i) out.append(src.s);
    return out;
}

std::string spacestring(Int count) {
    if (count < 1 || count > maxRepeat) return {};
    return std::string(static_cast<size_t>(count), ' ');
}

std::string padstring(std::string_view left, std::string_view right, Int width) {
    Source l, r;
    prepare(l, left);
    prepare(r, right);
    const Int leftCount = countfrom(l, 0, l.s.size());
    const Int rightCount = countfrom(r, 0, r.s.size());
    const Int gap = width - leftCount - rightCount;
    if (gap >= 1) {
        Int blanks = gap;
        if (blanks > maxRepeat) {
            debuglog("padstring: Width " + std::to_string(width) + " is too wide, padding with " +
                     std::to_string(maxRepeat) + " blanks.");
            blanks = maxRepeat;
        }
        std::string out;
        out.reserve(l.s.size() + static_cast<size_t>(blanks) + r.s.size());
        out.append(l.s).append(static_cast<size_t>(blanks), ' ').append(r.s);
        return out;
    }
    if (width < 1) return {};
    std::string joined;
    joined.reserve(l.s.size() + r.s.size());
    joined.append(l.s).append(r.s);
    // Joined, the first character of right may fuse with the last of left, so count again.
    Source j;
    prepare(j, joined);
    Int taken = 0;
    const size_t to = skip(j, 0, width, taken);
    if (to < j.s.size()) joined.resize(to);
    return joined;
}

std::string firstline(std::string_view s) {
    Source src;
    prepare(src, s);
    size_t at = src.s.find('\r');
    if (at == std::string_view::npos) at = src.s.find('\n');
    if (at == std::string_view::npos) return std::string(src.s);
    return piece(src, 0, at);
}

std::pair<std::string, std::string> nextfield(std::string_view s) {
    Source src;
    prepare(src, s);
    const size_t size = src.s.size();
    size_t fieldFrom = 0; // f is always one stretch of the line, from fieldFrom to fieldTo
    size_t fieldTo = 0;
    bool quoted = false;
    bool seen = false;
    std::string rest;
    size_t at = 0;
    while (at < size) {
        const size_t next = nextbound(src, at);
        if (ischar(src, at, next, '\'')) {
            if (!quoted) {
                quoted = seen = true;
                fieldFrom = fieldTo = next;
                at = next;
                continue;
            }
            for (size_t c = next; c < size;) {
                const size_t after = nextbound(src, c);
                if (ischar(src, c, after, ','))
                    return {piece(src, fieldFrom, fieldTo), piece(src, after, size)};
                c = after;
            }
            return {piece(src, fieldFrom, fieldTo), std::string()};
        }
        if (!quoted && ischar(src, at, next, ',')) {
            rest = piece(src, next, size);
            break;
        }
        fieldTo = next;
        at = next;
    }
    if (!seen) {
        while (fieldFrom < fieldTo) {
            const size_t next = nextbound(src, fieldFrom);
            if (next > fieldTo || !isblankchar(src, fieldFrom, next)) break;
            fieldFrom = next;
        }
        while (fieldTo > fieldFrom) {
            const size_t prev = prevbound(src, fieldTo);
            if (prev < fieldFrom || !isblankchar(src, prev, fieldTo)) break;
            fieldTo = prev;
        }
    }
    return {piece(src, fieldFrom, fieldTo), rest};
}

std::string pathfolder(std::string_view path) {
    Source src;
    prepare(src, path);
    const size_t slash = lastchar(src, '/');
    if (slash == std::string_view::npos) return {};
    return piece(src, 0, slash + 1);
}

std::string pathfilename(std::string_view path) {
    Source src;
    prepare(src, path);
    const size_t slash = lastchar(src, '/');
    if (slash == std::string_view::npos) return std::string(src.s);
    return piece(src, slash + 1, src.s.size());
}

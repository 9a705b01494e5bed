// Pair suggestions: the pairing against populations whose best pairing is known by hand, and the text the
// printer window shows.
#include "application/application.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Sections = std::vector<std::vector<SeelenorakelCandidate>>;
using Pairing = std::vector<std::pair<int64_t, int64_t>>;

// a lists b with these points; both: each lists the other.
struct Listing {
    int64_t A, B, Points;
    bool Both = true;
};

Sections sections(int64_t people, const std::vector<Listing>& listings) {
    Sections s(static_cast<size_t>(people));
    auto list = [&s](int64_t p, int64_t c, int64_t points) {
        s[static_cast<size_t>(p - 1)].push_back({c, points, false});
    };
    for (const Listing& l : listings) {
        list(l.A, l.B, l.Points);
        if (l.Both) list(l.B, l.A, l.Points);
    }
    for (auto& section : s)
        std::sort(section.begin(), section.end(), [](auto& x, auto& y) { return x.Record < y.Record; });
    return s;
}

constexpr int64_t huge = int64_t{1} << 62;

TEST(Suggestions, PairingsKnownByHand) {
    struct Row {
        const char* Name;
        int64_t People;
        std::vector<Listing> Listings;
        Pairing Expected;
    } rows[] = {
        {"nobody allows 3", 3, {{1, 2, 50}, {3, 1, 1, false}, {3, 2, 1, false}}, {{1, 2}}},
        {"3 allows nobody", 3, {{1, 2, 50}, {1, 3, 1, false}, {2, 3, 1, false}}, {{1, 2}}},
        {"odd count", 5, {{1, 2, 10}, {2, 3, 10}, {3, 4, 12}, {4, 5, 10}, {1, 5, 1}}, {{1, 5}, {2, 3}}},
        {"greedy best pair first is worse",
         4,
         {{1, 2, 1}, {1, 3, 2}, {2, 4, 2}, {3, 4, 100}},
         {{1, 3}, {2, 4}}},
        {"more pairs before fewer points", 4, {{1, 2, 1}, {1, 3, 500}, {2, 4, 500}}, {{1, 3}, {2, 4}}},
        {"enormous points",
         4,
         {{1, 2, huge}, {3, 4, huge}, {1, 3, huge - 1}, {2, 4, huge - 1}, {1, 4, huge + 5}},
         {{1, 3}, {2, 4}}},
        {"nobody allowed", 2, {{1, 2, 3, false}}, {}},
    };
    for (const Row& row : rows) {
        const Sections s = sections(row.People, row.Listings);
        EXPECT_EQ(SeelenorakelPairing(s), row.Expected) << row.Name;
    }
}

TEST(Suggestions, TextNamesTheThreeBestAndThePairs) {
    const Sections s =
        sections(4, {{1, 2, 1234}, {1, 3, 2001}, {1, 4, 900, false}, {2, 3, 5}, {3, 4, 2001, false}});
    const std::vector<std::string> names = {"Anna Beispiel", "Karl Muster", "Lena Vogel", "Otto Hahn"};
    EXPECT_EQ(SeelenorakelSuggestionText(s, names),
              "Paarvorschläge\r"
              "==============\r"
              "\r"
              "Die drei Besten für jeden:\r"
              "Anna Beispiel: Otto Hahn (900), Karl Muster (1.234), Lena Vogel (2.001)\r"
              "Karl Muster: Lena Vogel (5), Anna Beispiel (1.234)\r"
              "Lena Vogel: Karl Muster (5), Anna Beispiel (2.001), Otto Hahn (2.001)\r"
              "Otto Hahn: niemand\r"
              "\r"
              "Paare, die einander zulassen:\r"
              "Karl Muster und Lena Vogel: 5 Punkte\r"
              "Ohne Partner: Anna Beispiel, Otto Hahn\r");
}

} // namespace

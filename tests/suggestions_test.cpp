// Pair suggestions: the pairing against populations whose best pairing is known by hand and against a
// search of every pairing, and the text the printer window shows.
#include "application/application.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
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

// The best pairing by trying them all: most pairs, then fewest points.
std::pair<size_t, __int128> best(const Sections& s) {
    const size_t n = s.size();
    auto points = [&s](size_t p, size_t c) -> int64_t {
        for (auto& x : s[p])
            if (static_cast<size_t>(x.Record - 1) == c)
                for (auto& y : s[c])
                    if (static_cast<size_t>(y.Record - 1) == p) return x.Points;
        return -1;
    };
    std::pair<size_t, __int128> top{0, 0};
    std::function<void(size_t, uint32_t, size_t, __int128)> search = [&](size_t p, uint32_t used,
                                                                         size_t count, __int128 sum) {
        while (p < n && (used >> p & 1)) ++p;
        if (p == n) {
            if (count > top.first || (count == top.first && sum < top.second)) top = {count, sum};
            return;
        }
        search(p + 1, used | 1u << p, count, sum);
        for (size_t c = p + 1; c < n; ++c)
            if (!(used >> c & 1) && points(p, c) >= 0)
                search(p + 1, used | 1u << p | 1u << c, count + 1, sum + points(p, c));
    };
    search(0, 0, 0, 0);
    return top;
}

std::pair<size_t, __int128> measure(const Sections& s, const Pairing& pairing) {
    __int128 sum = 0;
    for (auto [a, b] : pairing)
        for (auto& c : s[static_cast<size_t>(a - 1)])
            if (c.Record == b) sum += c.Points;
    return {pairing.size(), sum};
}

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

// Random populations of the sizes of a real evening, listings one-sided or mutual, ties and far-out points
// included: the pairing has as many pairs and as few points as the best of all pairings.
TEST(Suggestions, PairingIsOptimalOnRandomPopulations) {
    std::mt19937_64 random(7);
    for (int64_t people : {6, 7, 9, 12})
        for (int round = 0; round < 40; ++round) {
            std::vector<Listing> listings;
            for (int64_t a = 1; a <= people; ++a)
                for (int64_t b = a + 1; b <= people; ++b) {
                    const int64_t points = round % 4 == 3 ? huge + static_cast<int64_t>(random() % 3)
                                                          : static_cast<int64_t>(random() % 6);
                    switch (random() % 4) {
                    case 0:
                        break;
                    case 1:
                        listings.push_back({a, b, points, false});
                        break;
                    default:
                        listings.push_back({a, b, points});
                        break;
                    }
                }
            const Sections s = sections(people, listings);
            const auto found = measure(s, SeelenorakelPairing(s));
            const auto top = best(s);
            EXPECT_EQ(found.first, top.first) << people << " people, round " << round;
            EXPECT_TRUE(found.second == top.second) << people << " people, round " << round;
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

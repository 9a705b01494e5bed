// The pairing of the pair suggestions: among all pairings of people who allow each other, one with the
// most pairs and, among those, the fewest points, found by LEMON's weighted matching on a general graph.
// Built as C++17 (see CMakeLists.txt): LEMON 1.3's graph maps use allocator members that C++20 removed.
#include "application/application.h"

#include <lemon/matching.h>
#include <lemon/smart_graph.h>

#include <algorithm>
#include <vector>

namespace {

using Sections = std::vector<std::vector<SeelenorakelCandidate>>;

// Record number and points of the allowed pairs, each pair once with the earlier record first: both
// appear in each other's section. A pair's points are the same both ways, so one section tells them.
struct AllowedPair {
    int64_t First, Second, Points;
};

std::vector<AllowedPair> allowedpairs(const Sections& sections) {
    const size_t n = sections.size();
    // Who stands in whose section, as one bit per ordered pair: a thousand people take 125 KB.
    std::vector<bool> listed(n * n, false);
    for (size_t p = 0; p < n; ++p)
        for (const SeelenorakelCandidate& c : sections[p])
            if (c.Record >= 1 && static_cast<size_t>(c.Record) <= n)
                listed[p * n + static_cast<size_t>(c.Record - 1)] = true;
    std::vector<AllowedPair> pairs;
    for (size_t p = 0; p < n; ++p)
        for (const SeelenorakelCandidate& c : sections[p]) {
            const size_t other = static_cast<size_t>(c.Record - 1);
            if (c.Record > static_cast<int64_t>(p + 1) && other < n && listed[other * n + p])
                pairs.push_back({static_cast<int64_t>(p + 1), c.Record, c.Points});
        }
    return pairs;
}

} // namespace

std::vector<std::pair<int64_t, int64_t>> SeelenorakelPairing(const Sections& sections) {
    const std::vector<AllowedPair> pairs = allowedpairs(sections);
    std::vector<std::pair<int64_t, int64_t>> pairing;
    if (pairs.empty()) return pairing;

    // Most pairs first, fewest points second, as one maximum-weight matching: each pair weighs a bonus
    // less its points, and the bonus is larger than the points of any whole pairing, so one pair more
    // always outweighs any points saved. Points of hand-edited files reach 2^62 and a pairing holds up
    // to half the people, so weights are 128-bit; the matching's duals take four times a weight.
    using Weight = __int128;
    Weight largest = 0;
    for (const AllowedPair& pair : pairs) largest = std::max<Weight>(largest, pair.Points);
    const Weight bonus = (largest + 1) * static_cast<Weight>(sections.size() / 2 + 1);

    lemon::SmartGraph graph;
    graph.reserveNode(static_cast<int>(sections.size()));
    graph.reserveEdge(static_cast<int>(pairs.size()));
    std::vector<lemon::SmartGraph::Node> nodes;
    for (size_t p = 0; p < sections.size(); ++p) nodes.push_back(graph.addNode());
    lemon::SmartGraph::EdgeMap<Weight> weight(graph);
    for (const AllowedPair& pair : pairs) {
        const auto edge = graph.addEdge(nodes[static_cast<size_t>(pair.First - 1)],
                                        nodes[static_cast<size_t>(pair.Second - 1)]);
        weight[edge] = bonus - pair.Points;
    }
    lemon::MaxWeightedMatching<lemon::SmartGraph, lemon::SmartGraph::EdgeMap<Weight>> matching(graph, weight);
    matching.run();
    for (size_t p = 0; p < nodes.size(); ++p) {
        const lemon::SmartGraph::Node mate = matching.mate(nodes[p]);
        if (mate != lemon::INVALID && static_cast<size_t>(graph.id(mate)) > p)
            pairing.emplace_back(static_cast<int64_t>(p + 1), static_cast<int64_t>(graph.id(mate) + 1));
    }
    return pairing;
}

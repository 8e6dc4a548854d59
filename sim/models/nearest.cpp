#include "sim/models/nearest.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <numeric>
#include <utility>

namespace k4sim {

namespace {

// What is longer is no slip of a word.
constexpr std::size_t longest = 100;
// What is shorter is part of too many.
constexpr std::size_t shortest_part = 3;
constexpr std::size_t most_offers = 3;

bool same(char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) ==
           std::tolower(static_cast<unsigned char>(b));
}

// Letters to insert, remove or replace, row by row of the table of all beginnings.
std::size_t changes(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (same(from[i], to[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::vector<std::string_view> with_fewest_changes(std::string_view wrong,
                                                  const std::vector<std::string_view>& candidates) {
    std::vector<std::string_view> best;
    std::size_t fewest = longest;
    for (const std::string_view candidate : candidates) {
        const std::size_t count = changes(wrong, candidate);
        if (count > candidate.size() / 2 || count > fewest) continue;
        if (count < fewest) best.clear();
        best.push_back(candidate);
        fewest = count;
    }
    return best;
}

} // namespace

std::vector<std::string_view> nearest_ones(std::string_view wrong,
                                           const std::vector<std::string_view>& candidates) {
    std::vector<std::string_view> best;
    if (wrong.size() > longest) return best;
    if (wrong.size() >= shortest_part)
        std::ranges::copy_if(candidates, std::back_inserter(best), [&](std::string_view candidate) {
            return candidate.find(wrong) != std::string_view::npos;
        });
    if (best.empty()) best = with_fewest_changes(wrong, candidates);
    best.resize(std::min(best.size(), most_offers));
    return best;
}

std::string_view nearest(std::string_view wrong, const std::vector<std::string_view>& candidates) {
    const std::vector<std::string_view> best = nearest_ones(wrong, candidates);
    return best.empty() ? std::string_view() : best.front();
}

std::string did_you_mean(std::string_view wrong, const std::vector<std::string_view>& candidates) {
    const std::vector<std::string_view> right = nearest_ones(wrong, candidates);
    return right.empty() ? "" : "; did you mean " + alternatives(right) + "?";
}

std::string alternatives(const std::vector<std::string_view>& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) text += i + 1 < words.size() ? ", " : " or ";
        text += words[i];
    }
    return text;
}

std::string no_such(std::string_view kind, std::string_view wrong,
                    const std::vector<std::string_view>& choices) {
    std::string text("there is no ");
    text.append(kind).append(" \"").append(wrong).append("\"; choose ");
    return text + alternatives(choices) + did_you_mean(wrong, choices);
}

} // namespace k4sim

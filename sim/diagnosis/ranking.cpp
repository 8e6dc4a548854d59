#include "sim/diagnosis/ranking.h"

#include <algorithm>

namespace k4sim {

namespace {

// Of "course ..." and "line" there may be many, which are the same or not; of the others one.
bool is_one_of_many(const Sign& sign) {
    return sign.what == "line" || sign.what.starts_with("course ");
}

struct Seen {
    const Sign* sign;
    Shaped shaped;
    double weight;
    bool one_of_many;
    bool may_go_on; // to "OK", when the run does
};

// What so many classes show in the course of a row is what each device shows.
constexpr double usual_share = 0.1;
// How well a row that may go on to "OK" fits one that did.
constexpr double may_go_on_fit = 0.5;

// Of the keys each order is usual.
bool may_go_on(const Sign& sign, const std::string& shape, const Knowledge& knowledge) {
    if (!sign.what.starts_with("row ")) return false;
    const std::string label = sign.what.substr(4);
    return label == "Frontpanel" || knowledge.share_of("course " + label, shape) >= usual_share;
}

class Comparison {
public:
    Comparison(const Symptoms& seen, const Knowledge& knowledge)
        : knowledge_(knowledge), is_seen_(knowledge.signs().size()),
          can_be_seen_(knowledge.signs().size()) {
        for (const Sign& sign : seen.signs) {
            Shaped shape = shaped(sign.text);
            const double weight = knowledge.weight_of(sign.what, shape.shape);
            const bool on_its_way = may_go_on(sign, shape.shape, knowledge);
            seen_.push_back({&sign, std::move(shape), weight, is_one_of_many(sign), on_its_way});
            if (const auto number = knowledge.find(sign)) is_seen_[*number] = true;
        }
        for (std::size_t i = 0; i < can_be_seen_.size(); ++i)
            can_be_seen_[i] = seen.tells(knowledge.signs()[i].sign.what);
    }

    // What both show, of all that one of them shows.
    double fit(const FaultClass& known) const {
        double both = 0, all = 0;
        for (const Seen& seen : seen_) {
            const auto [weight, share] =
                seen.one_of_many ? as_one_of_many(seen, known) : as_the_one(seen, known);
            both += weight * share;
            all += weight;
        }
        for (const std::size_t number : known.signs)
            if (is_missing(number)) all += knowledge_.signs()[number].weight;
        return all > 0 ? both / all : 0;
    }

private:
    struct Part {
        double weight, share;
    };

    Part as_one_of_many(const Seen& seen, const FaultClass& known) const {
        const auto number = knowledge_.find(*seen.sign);
        const bool shown = number && std::ranges::binary_search(known.signs, *number);
        return {seen.weight, shown ? 1.0 : 0.0};
    }

    Part as_the_one(const Seen& seen, const FaultClass& known) const {
        for (const std::size_t number : known.signs) {
            const KnownSign& other = knowledge_.signs()[number];
            if (other.sign.what != seen.sign->what) continue;
            const double least = seen.may_go_on && other.sign.text == "OK" ? may_go_on_fit : 0;
            return {std::max(seen.weight, other.weight),
                    std::max(likeness(seen.shaped, other.shaped), least)};
        }
        return {seen.weight, 0};
    }

    // It could have been seen, and was not.
    bool is_missing(std::size_t number) const {
        if (!can_be_seen_[number] || is_seen_[number]) return false;
        const Sign& sign = knowledge_.signs()[number].sign;
        return is_one_of_many(sign) || std::ranges::none_of(seen_, [&](const Seen& seen) {
                   return seen.sign->what == sign.what;
               });
    }

    const Knowledge& knowledge_;
    std::vector<Seen> seen_;
    std::vector<bool> is_seen_, can_be_seen_; // by the number of the sign
};

struct Ranked {
    const FaultClass* known;
    double fit;
};

// The same faults on another board are no other candidate.
void add(std::vector<Candidate>& candidates, const Ranked& ranked) {
    const FaultClass& known = *ranked.known;
    const auto named = std::ranges::find_if(candidates, [&](const Candidate& candidate) {
        return std::ranges::all_of(known.faults, [&](const std::string& fault) {
            return std::ranges::find(candidate.faults, fault) != candidate.faults.end();
        });
    });
    if (named == candidates.end())
        candidates.push_back({ranked.fit, {known.board}, known.faults});
    else if (std::ranges::find(named->boards, known.board) == named->boards.end())
        named->boards.push_back(known.board);
}

} // namespace

std::vector<Candidate> candidates_for(const Symptoms& seen, const std::string& board,
                                      const Knowledge& knowledge) {
    std::vector<Ranked> ranking;
    const Comparison comparison(seen, knowledge);
    for (const FaultClass& known : knowledge.classes())
        if (board.empty() || known.board == board)
            if (const double fit = comparison.fit(known); fit >= least_fit)
                ranking.push_back({&known, fit});
    std::ranges::stable_sort(ranking, std::greater(), &Ranked::fit);
    std::vector<Candidate> candidates;
    for (const Ranked& ranked : ranking)
        add(candidates, ranked);
    return candidates;
}

} // namespace k4sim

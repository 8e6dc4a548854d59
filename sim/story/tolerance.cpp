#include "sim/story/tolerance.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <string_view>

namespace k4sim {

namespace {

constexpr std::string_view units[] = {"dB", "s", "%", ""};
constexpr std::string_view number_characters = "0123456789";
constexpr double rounding = 1e-9; // of decimals

// What stands before, and moves `text` behind it: up to a number, and that number.
struct Piece {
    std::string_view words;
    double number = 0;

    explicit Piece(std::string_view& text) {
        std::size_t begin = std::min(text.find_first_of(number_characters), text.size());
        if (begin > 0 && begin < text.size() && text[begin - 1] == '-') --begin;
        words = text.substr(0, begin);
        text.remove_prefix(begin);
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    }
};

} // namespace

std::optional<Tolerance> Tolerance::from(const std::string& text) {
    Tolerance tolerance;
    for (std::size_t begin = 0, end = 0; end < text.size(); begin = end + 1) {
        end = std::min(text.find(',', begin), text.size());
        if (!tolerance.add(text.substr(begin, end - begin))) return std::nullopt;
    }
    if (tolerance.limits_.empty()) return std::nullopt;
    return tolerance;
}

bool Tolerance::add(const std::string& limit) {
    double number = 0;
    const char* const last = limit.data() + limit.size();
    const auto [end, error] = std::from_chars(limit.data(), last, number);
    const std::string unit(end, last);
    if (error != std::errc{} || !std::isfinite(number) || number < 0) return false;
    if (std::ranges::find(units, unit) == std::end(units)) return false;
    limits_[unit] = number;
    return true;
}

bool Tolerance::covers(const std::string& unit, double one, double other) const {
    const auto limit = [&](const std::string& of) {
        const auto found = limits_.find(of);
        return found == limits_.end() ? 0 : found->second;
    };
    const double relative = limit("%") / 100 * std::max(std::abs(one), std::abs(other));
    const double absolute = limit(unit == "dB" || unit == "s" ? unit : "");
    return std::abs(one - other) <= std::max(relative, absolute) + rounding;
}

bool Tolerance::covers_text(const std::string& unit, const std::string& one,
                            const std::string& other) const {
    std::string_view rest(one), others_rest(other);
    while (!rest.empty() && !others_rest.empty()) {
        const Piece piece(rest), others_piece(others_rest);
        if (piece.words != others_piece.words || !covers(unit, piece.number, others_piece.number))
            return false;
    }
    return rest.empty() && others_rest.empty();
}

} // namespace k4sim

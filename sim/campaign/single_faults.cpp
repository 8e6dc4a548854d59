#include "sim/campaign/single_faults.h"

#include "sim/models/faults.h"
#include "sim/models/nearest.h"
#include "sim/models/universe.h"
#include "sim/setup_choices.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace k4sim {

std::vector<SingleFault> single_faults(const std::string& pattern,
                                       const std::vector<Board>& chosen) {
    std::vector<SingleFault> faults;
    for (const Board board : chosen)
        for (const auto& [fault, unit, expected, why] : universe(board))
            if (is_named_like(pattern, fault))
                faults.push_back({fault, std::string(name_of(boards, board)), std::string(unit),
                                  std::string(name_of(expected)), std::string(why)});
    if (faults.empty())
        throw std::runtime_error("no fault of these boards is named like \"" + pattern + "\"" +
                                 did_you_mean(pattern, fault_names()));
    return faults;
}

std::vector<Board> boards_of(const std::string& list) {
    std::vector<Board> chosen;
    std::vector<std::string_view> suitable = names_of(boards);
    std::erase(suitable, name_of(boards, Board::none));
    std::istringstream names(list);
    for (std::string name; std::getline(names, name, ',');) {
        if (std::ranges::find(suitable, name) == suitable.end())
            throw std::runtime_error("--boards: " + no_such("board", name, suitable));
        chosen.push_back(*value_of(boards, name));
    }
    if (chosen.empty())
        for (const std::string_view name : suitable)
            chosen.push_back(*value_of(boards, name));
    return chosen;
}

} // namespace k4sim

// How well what was seen fits what is known.
#pragma once

#include "sim/diagnosis/knowledge.h"

#include <string>
#include <vector>

namespace k4sim {

// Faults that look the same, on each of these boards.
struct Candidate {
    double fit; // from 0 to 1
    std::vector<std::string> boards;
    std::vector<std::string> faults;
};

// Of a worse fit nothing can be said.
inline constexpr double least_fit = 0.5;

// The best first. board: empty when it is not known. None where nothing that is known fits.
std::vector<Candidate> candidates_for(const Symptoms& seen, const std::string& board,
                                      const Knowledge& knowledge);

} // namespace k4sim

#include "audio/ainfo.h"

#include <cmath>

namespace {

constexpr double dBperNeper = 8.685889638065035; // 20 / ln 10
constexpr double nothing_dB = -1000.0;
constexpr double dBperDecade = 20.0;

} // namespace

double KLTalsaAinfo::dB(double x) { return x <= 0 ? nothing_dB : std::log(x) * dBperNeper; }

double KLTalsaAinfo::dBfact(double dB) { return std::pow(10.0, dB / dBperDecade); }

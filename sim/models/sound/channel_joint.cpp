#include "sim/models/sound/channel_joint.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace k4sim {

namespace {

constexpr double hum_of_mains_hz = 50;

double share(double level_db) { return std::pow(10.0, level_db / 20.0); }
double height(double level_db) { return share(level_db) * full_scale; }

struct LevelWay {
    std::string_view site;
    double ChannelFaults::*what;
    std::string_view way;
    double db;
};

constexpr LevelWay level_ways[] = {
    {".gain", &ChannelFaults::gain_db, "-20", -20},
    {".gain", &ChannelFaults::gain_db, "-6", -6},
    {".gain", &ChannelFaults::gain_db, "-3", -3},
    {".gain", &ChannelFaults::gain_db, "-1", -1},
    {".gain", &ChannelFaults::gain_db, "+3", 3},
    {".offset", &ChannelFaults::offset_db, "-60", -60},
    {".offset", &ChannelFaults::offset_db, "-40", -40},
    {".offset", &ChannelFaults::offset_db, "-20", -20},
    {".noise", &ChannelFaults::noise_db, "-85", -85},
    {".noise", &ChannelFaults::noise_db, "-70", -70},
    {".noise", &ChannelFaults::noise_db, "-40", -40},
    {".hum", &ChannelFaults::hum_db, "-85", -85},
    {".hum", &ChannelFaults::hum_db, "-60", -60},
    {".clip", &ChannelFaults::clip_db, "-1", -1},
    {".clip", &ChannelFaults::clip_db, "-20", -20},
};

constexpr LevelWay weak = level_ways[2];

} // namespace

void ChannelJoint::name_sites(FaultSites& sites, const std::string& name) {
    for (const auto& [site, what, way, db] : level_ways)
        name_site(sites, name + std::string(site), way, what, db);
    name_site(sites, name + ".polarity", "inverted", &ChannelFaults::inverted, true);
    name_site(sites, name + ".samples", "slipped", &ChannelFaults::slipped, true);
    name_site(sites, name + ".wire", "open", &ChannelFaults::open, true);
}

void ChannelJoint::name_unheard(FaultSites& sites, const std::string& name) {
    name_site(sites, name + std::string(weak.site), weak.way, weak.what, weak.db);
    name_site(sites, name + ".wire", "open", &ChannelFaults::open, true);
}

template <class T>
void ChannelJoint::name_site(FaultSites& sites, const std::string& site, std::string_view way,
                             T ChannelFaults::*what, T value) {
    sites.add(site, way, [this, what, value](bool broken) {
        if (changing_) changing_();
        faults_.*what = broken ? value : ChannelFaults{}.*what;
        broken_ += broken ? 1 : -1;
    });
}

void ChannelJoint::spoil(std::span<Frame> frames, std::int32_t Frame::*side, std::int64_t first,
                         unsigned rate_hz) {
    const double gain =
        (faults_.open ? 0 : 1) * (faults_.inverted ? -1 : 1) * share(faults_.gain_db);
    const double offset = height(faults_.offset_db);
    const double noise = height(faults_.noise_db) * std::numbers::sqrt3; // peak of even noise
    const double hum = height(faults_.hum_db);
    const double highest = height(std::min(faults_.clip_db, 0.0)) - 1;
    const double turn = 2.0 * std::numbers::pi * hum_of_mains_hz / rate_hz;
    for (Frame& frame : frames) {
        std::int32_t& sample = frame.*side;
        const std::int32_t now = sample;
        const std::int32_t taken = faults_.slipped ? former_ : now;
        former_ = now;
        random_ = random_ * 1664525U + 1013904223U;
        const double chance = static_cast<std::int32_t>(random_) / 2147483648.0;
        const double level = taken * gain + offset + noise * chance +
                             hum * std::sin(turn * static_cast<double>(first++ % rate_hz));
        sample = static_cast<std::int32_t>(std::lround(std::clamp(level, -highest, highest)));
    }
}

} // namespace k4sim

// The analog loop: what a played tone measures at the inputs, by settings, cable and fault.
#include "sim/models/sound/codec.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <vector>

namespace {

using namespace k4sim;

constexpr unsigned rate_hz = 48000;
constexpr double tone_peak_db = -6;
constexpr double tone_rms_db = -9.0103;
constexpr double quiet_db = -85;

double db(double value) { return 20 * std::log10(value); }

struct Measurement {
    double rms_db[2]; // DC removed
    double dc_db[2];
};

Measurement measure(const std::vector<Frame>& frames) {
    Measurement result{};
    for (int input = 0; input < 2; ++input) {
        double sum = 0, squares = 0;
        for (const Frame& frame : frames) {
            const double sample = (input == 0 ? frame.left : frame.right) / double{full_scale};
            sum += sample;
            squares += sample * sample;
        }
        const double mean = sum / static_cast<double>(frames.size());
        const double power = squares / static_cast<double>(frames.size()) - mean * mean;
        result.rms_db[input] = db(std::sqrt(power));
        result.dc_db[input] = db(std::abs(mean));
    }
    return result;
}

// Half a second of a tone on both outputs.
Measurement loop(Codec& codec, double tone_hz = 1000) {
    std::vector<Frame> sent(rate_hz / 2), arriving(rate_hz / 2);
    const double peak = full_scale * std::pow(10, tone_peak_db / 20);
    for (std::size_t i = 0; i < sent.size(); ++i) {
        const double phase = 2 * std::numbers::pi * tone_hz * static_cast<double>(i) / rate_hz;
        sent[i].left = sent[i].right = static_cast<std::int32_t>(peak * std::sin(phase));
    }
    codec.carry(0, rate_hz, sent, arriving);
    arriving.erase(arriving.begin(), arriving.begin() + 2400); // a filter settles
    return measure(arriving);
}

CodecSettings settings(int line_out, int line_in, bool boost, int line_in_level = 0) {
    CodecSettings made;
    made.line_out = {line_out, line_out};
    made.headphone = {100, 100};
    made.line_in = {line_in, line_in};
    made.line_in_level = {line_in_level, line_in_level};
    made.line_out_on = made.headphone_on = made.line_in_on = {true, true};
    made.boost = {boost, boost};
    return made;
}

TEST(Codec, TheLoopHasTheLevelOfItsSettings) {
    const struct {
        Board board;
        int line_out, line_in;
        bool boost;
        int line_in_level;
        double loop_db;
    } cases[] = {
        // What the test makes.
        {Board::aes, 127, 24, false, 0, 0},
        {Board::aes, 127, 48, true, 0, -6.74},
        {Board::plain, 127, 8, true, 0, -6.74},
        // One thing wrong.
        {Board::aes, 100, 24, false, 0, -27},
        {Board::aes, 127, 48, false, 0, -24},
        {Board::aes, 127, 24, false, 1, 3},
        {Board::plain, 127, 24, true, 0, -54.74},
    };
    for (const auto& row : cases) {
        Codec codec(row.board, 1);
        codec.set(settings(row.line_out, row.line_in, row.boost, row.line_in_level));
        codec.set_cable(AnalogCable::straight);
        const Measurement heard = loop(codec);
        for (unsigned input = 0; input < 2; ++input) {
            EXPECT_NEAR(heard.rms_db[input], tone_rms_db + row.loop_db, 0.02)
                << row.line_out << " " << row.line_in << " " << row.boost;
            EXPECT_NEAR(codec.peek_loop_gain_db(input), row.loop_db, 0.001);
        }
    }
}

TEST(Codec, CablesAndSwitchesDecideWhoHearsWhat) {
    const auto no_change = [](CodecSettings&) {};
    const struct {
        AnalogCable cable;
        void (*change)(CodecSettings&);
        double left_db, right_db; // of the tone's level; quiet_db: noise only
    } cases[] = {
        {AnalogCable::straight, no_change, 0, 0},
        {AnalogCable::left, no_change, 0, quiet_db},
        {AnalogCable::crossed, no_change, 0, 0},
        {AnalogCable::phones, no_change, -27, -27},
        {AnalogCable::crossed, [](CodecSettings& s) { s.line_out_on[0] = false; }, 0, quiet_db},
        {AnalogCable::straight, [](CodecSettings& s) { s.line_in_on[1] = false; }, 0, quiet_db},
        {AnalogCable::straight, [](CodecSettings& s) { s.headphone_on = {}; }, 0, 0},
        {AnalogCable::straight, [](CodecSettings& s) { s.phantom[0] = true; }, -2.5, 0},
        {AnalogCable::straight,
         [](CodecSettings& s) {
             s.boost = {};
             s.line_in = {24, 27};
         },
         0, -3},
    };
    for (const auto& row : cases) {
        Codec codec(Board::aes, 1);
        CodecSettings made = settings(127, 24, false);
        row.change(made);
        codec.set(made);
        codec.set_cable(row.cable);
        const Measurement heard = loop(codec);
        const double expected[] = {row.left_db, row.right_db};
        for (int input = 0; input < 2; ++input) {
            if (expected[input] == quiet_db)
                EXPECT_LT(heard.rms_db[input], quiet_db) << &row - cases;
            else
                EXPECT_NEAR(heard.rms_db[input], tone_rms_db + expected[input], 0.02)
                    << &row - cases;
        }
    }
}

TEST(Codec, AnOpenInputIsQuietAndNearlyWithoutDcWhateverTheSeed) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        Codec codec(Board::plain, seed);
        const Measurement heard = loop(codec);
        for (int input = 0; input < 2; ++input) {
            EXPECT_NEAR(heard.rms_db[input], -90, 0.2) << seed;
            EXPECT_LT(heard.dc_db[input], -61.5) << seed;
            EXPECT_GT(heard.dc_db[input], -70.5) << seed;
        }
    }
}

TEST(Codec, FaultsMeasureWhatTheySay) {
    const struct {
        CodecFaults faults;
        AnalogCable cable;
        double tone_hz, rms_db; // of input 1
    } cases[] = {
        {{.gain_db = -3}, AnalogCable::straight, 1000, tone_rms_db - 3},
        {{.hum_db = -60}, AnalogCable::unplugged, 1000, -63.01},
        {{.noise_db = -70}, AnalogCable::unplugged, 1000, -69.96},
        {{.dead_input = 1}, AnalogCable::straight, 1000, -90},
        {{.droop_hz = 5000}, AnalogCable::straight, 5000, tone_rms_db - 8},
        {{.droop_hz = 5000}, AnalogCable::straight, 100, tone_rms_db},
    };
    for (const auto& row : cases) {
        Codec codec(Board::aes, 1);
        codec.set(settings(127, 24, false));
        codec.set_cable(row.cable);
        codec.set(row.faults);
        EXPECT_NEAR(loop(codec, row.tone_hz).rms_db[0], row.rms_db, 0.1) << &row - cases;
    }
}

TEST(Codec, ACrackleIsLoudOnce) {
    Codec codec(Board::aes, 1);
    codec.crackle();
    std::vector<Frame> sent(480), arriving(480);
    codec.carry(0, rate_hz, sent, arriving);
    EXPECT_NEAR(measure(arriving).rms_db[0], -20, 0.6);
    codec.carry(480, rate_hz, sent, arriving);
    EXPECT_LT(measure(arriving).rms_db[0], quiet_db);
}

} // namespace

// A filter that takes a band around one frequency out of a signal, as a bad coupling does.
#pragma once

namespace k4sim {

class Dip {
public:
    // How much weaker the signal is in the middle of the band, in dB.
    static constexpr double depth_db = 8;

    // At a frequency below half the rate; the band is about as wide as the frequency.
    void tune(double frequency_hz, double rate_hz);
    double filter(double sample) {
        const double result = in_0_ * sample + state_1_;
        state_1_ = in_1_ * sample - out_1_ * result + state_2_;
        state_2_ = in_2_ * sample - out_2_ * result;
        return result;
    }
    // To be called every few hundred samples: brings what is left of a signal that has died away to
    // an end. With numbers near the smallest that there are a processor takes a hundred times as
    // long.
    void settle();

    double frequency_hz() const { return frequency_hz_; }
    double rate_hz() const { return rate_hz_; }

private:
    double frequency_hz_ = 0, rate_hz_ = 0;
    double in_0_ = 1, in_1_ = 0, in_2_ = 0, out_1_ = 0, out_2_ = 0;
    double state_1_ = 0, state_2_ = 0;
};

} // namespace k4sim

#pragma once
// What a recorded channel holds, as levels.

// The statistics of one channel, in units of full scale (-1..1).
struct KLTalsaAinfo {
    double rmsTotal = 0; // RMS including DC
    double dc = 0;       // mean
    double rms = 0;      // RMS with the DC removed
    double clip = 0;     // fraction of the samples whose magnitude reaches full scale
    double min = 1.0;
    double max = -1.0;
    double swing = 0; // half of peak to peak

    // Nothing analysed: min 1, max -1, all others 0.
    void clear() { *this = {}; }

    // A ratio of amplitudes in dB: 20 * log10(x). 0 and less: -1000.
    static double dB(double x);
    // The ratio of amplitudes that dB stands for: 10^(dB/20).
    static double dBfact(double dB);
};

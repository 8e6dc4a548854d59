#include "sim/diagnosis/next_step.h"

#include <algorithm>
#include <fnmatch.h>
#include <initializer_list>

namespace k4sim {

namespace {

// The faults that leave this to be seen, by patterns; a fault belongs to the first that fits.
struct Outcome {
    std::string_view seen, tells;
    std::initializer_list<const char*> faults;
};

struct Step {
    std::string_view action;
    std::initializer_list<Outcome> outcomes;
};

// Ordered by how little they cost; of two that tell as much the first is taken. A step is of use
// only to faults of its own unit: those that no outcome names make it worthless.
const Step steps[] = {
    {"Start the self-test as root.",
     {{"it runs then", "only the right to reach the ports was missing", {"no-privilege"}},
      {"nothing changes",
       "it is the hardware",
       {"cpld*", "panel*", "sda-*", "speaker*", "keys.*", "oled.*"}}}},
    {"Look at the OLED while the program starts.",
     {{"it stays dark, or shows no whole picture",
       "it is the panel, its supply or its link",
       {"panel-dead", "panel.link.*", "sda-*", "oled.*", "panel-type*"}},
      {"every pixel is lit",
       "the link works: it is what the CPLD or the panel tells of itself, or a key",
       {"cpld*", "panel.type*", "panel.version*", "no-privilege", "key*", "encoder*",
        "speaker*"}}}},
    {"Put another front panel in.",
     {{"the text goes",
       "it is the panel",
       {"panel-*", "panel.type*", "panel.version*", "panel.address*", "key*", "encoder*", "oled.*",
        "speaker*"}},
      {"the text stays",
       "it is the mainboard or the ribbon cable",
       {"cpld*", "panel.link.*", "sda-*", "no-privilege"}}}},
    {"Press the key again, and watch the console.",
     {{"it tells no key at all",
       "the contact or its wire is broken",
       {"key-dead*", "encoder-dead*", "keys.*=stuck-0", "keys.*=dead"}},
      {"it tells a key",
       "the key was down all along, or bounces",
       {"key-held*", "key-word-invalid*", "keys.*"}}}},
    {"Turn each knob slowly, ten steps each way, and count those that the console tells.",
     {{"none at all",
       "the encoder is dead",
       {"encoder-dead*", "keys.encoder*.phase*", "keys.encoder*=dead"}},
      {"some", "the encoder bounces or skips", {"keys.encoder*"}}}},
    {"Put another loopback plug on the parallel port.",
     {{"the text goes", "it is the plug", {"parallel-open*", "parallel-tied*", "parallel.wire*"}},
      {"the text stays",
       "it is the port of the mainboard",
       {"parallel-high*", "parallel-low*", "parallel-inverted*", "parallel-flaky*", "parallel.*",
        "cpld.lines*"}}}},
    {"Take the loopback plug off and measure the outputs of the parallel port with a logic probe.",
     {{"all outputs change",
       "it is an input, or the wire to it",
       {"parallel-open*", "parallel.in.*", "parallel-low*", "parallel-high*", "parallel.wire*"}},
      {"an output never changes, or follows another",
       "it is that output",
       {"parallel.out.*", "parallel-tied*", "parallel-inverted*", "parallel-flaky*"}}}},
    {"Measure the lines of the loopback plug against each other with an ohmmeter.",
     {{"one is open", "its wire is broken", {"parallel-open*", "parallel.wire?=*"}},
      {"two are connected", "they are tied to each other", {"parallel-tied*", "parallel.wires*"}},
      {"the plug is good", "it is the port of the mainboard", {"parallel*"}}}},
    {"Exchange the two network cables at the device.",
     {{"the text moves to the other port",
       "it is the cable or what is at its other end",
       {"link-down*", "link-flapping*", "link-dropped*", "link.*.cable*"}},
      {"the text stays", "it is the port", {"link-absent*", "link-refused*", "link.*"}}}},
    {"List the network ports with \"ip link\".",
     {{"the port is not there", "its chip is not found", {"link-absent*", "link.*=absent"}},
      {"it is there and has no carrier",
       "it is the cable, its other end or the socket",
       {"link-down*", "link-flapping*", "link.*=down"}},
      {"it is there, and its state is not told",
       "the driver does not tell it",
       {"link-refused*", "link.*=refused"}}}},
    {"List the adapters with \"ls /dev/ttyUSB*\".",
     {{"one is missing",
       "it is not plugged in, or not found",
       {"serial-absent*", "serial*=absent"}},
      {"their numbers are not 0 and 1",
       "one was plugged in again while it was in use",
       {"serial-first-number*", "serial-second-number*"}},
      {"both are there", "it is the cable between them, or one that does not work", {"serial*"}}}},
    {"Take another cable between the serial adapters.",
     {{"the text goes", "it is the cable", {"serial-cable*", "serial.cable*"}},
      {"the text stays", "it is one of the adapters", {"serial*"}}}},
    {"Take another adapter in place of the first one.",
     {{"the text goes", "it was the first one", {"serial-*=1", "serial1.*"}},
      {"the text stays", "it is the second one", {"serial-*=2", "serial2.*"}}}},
    {"List the sound cards with \"aplay -l\".",
     {{"there is no card", "it is not found", {"card-absent"}},
      {"a digital stream is missing",
       "it is that part of the card",
       {"aes-receiver-absent", "aes-transmitter-absent", "aes.*=missing"}},
      {"all are there",
       "it is a setting of the card, or another program that has it",
       {"card-*", "mixer.*", "aes*", "codec.*"}}}},
    {"Look who has the sound card with \"fuser -v /dev/snd/*\".",
     {{"another program", "end that one", {"card-busy"}},
      {"nobody", "it is the card", {"card-*", "mixer.*"}}}},
    {"Take every cable out of the audio sockets before the start.",
     {{"the text goes",
       "a cable was in too early, or brought it in",
       {"analog-cable=early", "aes-cable=early"}},
      {"the text stays",
       "it comes from the inputs themselves",
       {"analog-dc*", "analog-noise*", "analog-hum*", "analog-crackle*", "codec.in*", "aes*"}}}},
    {"Plug the sides of the analog cable crosswise: left output into input 2.",
     {{"the text moves to the other input",
       "it is the cable or the output",
       {"analog-cable=left", "analog-cable=right", "codec.out*", "mixer.*ut*", "mixer.*eadphone*"}},
      {"the text stays",
       "it is the input",
       {"analog-input-dead*", "codec.in*", "analog-gain-left*", "analog-gain-right*",
        "mixer.*n*"}}}},
    {"Take another analog cable, in the sockets of line out and line in.",
     {{"the text goes", "it was the cable, or the wrong socket", {"analog-cable*"}},
      {"the text stays",
       "it is the sound card",
       {"analog-*", "card-*", "capture-*", "playback-*", "codec.*", "mixer.*"}}}},
    {"Listen at the analog outputs with headphones while the console asks for the cable.",
     {{"there is no tone",
       "it is the output",
       {"card-mixer-refuses", "card-element-missing*out", "card-element-missing=headphone",
        "codec.out*", "mixer.*ut*", "mixer.*eadphone*", "playback-*"}},
      {"there is one",
       "it is the input",
       {"analog-input-dead*", "codec.in*", "capture-*", "card-element-missing*in*", "analog-gain*",
        "analog-droop*", "mixer.*"}}}},
    {"Run it again with the keyword nomicboost.",
     {{"the text changes",
       "it is the boost or the phantom power",
       {"card-element-missing=micboost", "card-element-missing=phantom", "cpld.microphone*",
        "mixer.*oost*", "mixer.*hantom*"}},
      {"the text stays",
       "it is no matter of the microphone level",
       {"analog-*", "card-*", "codec.*", "mixer.*", "capture-*"}}}},
    {"Look at the silence on the console: RMS and DC of both inputs.",
     {{"DC is high", "the input has an offset", {"analog-dc*", "codec.in?.offset*"}},
      {"RMS is high and steady",
       "it hums, or is noisy",
       {"analog-hum*", "analog-noise*", "codec.in?.noise*", "codec.in?.hum*"}},
      {"RMS is high now and then", "it crackles", {"analog-crackle*"}}}},
    {"Run it from another mains socket, far from transformers.",
     {{"the noise falls", "it hums", {"analog-hum*", "codec.*.hum*"}},
      {"it stays", "the input is noisy", {"analog-noise*", "codec.*.noise*"}}}},
    {"Look at the levels of the sweep on the console.",
     {{"one frequency is weak", "a filter of the input is wrong", {"analog-droop*"}},
      {"all are wrong alike",
       "it is the gain",
       {"analog-gain*", "codec.*.gain*", "mixer.*one-off*"}},
      {"they change from sweep to sweep",
       "the stream breaks off",
       {"capture-*", "playback-*", "codec.*"}}}},
    {"Take another digital cable, and plug it when the row asks for the lock.",
     {{"the text goes",
       "it was the cable, or it was in too early or too late",
       {"aes-cable*", "aes.cable*"}},
      {"the text stays", "it is the transmitter or the receiver", {"aes*"}}}},
    {"Feed the digital input from another device with the rate that the row asks for.",
     {{"the receiver locks",
       "it is the transmitter",
       {"aes-transmitter*", "aes.transmitter*", "aes.rate*", "aes-rate*"}},
      {"it does not, or tells another rate",
       "it is the receiver",
       {"aes-receiver*", "aes-measured*", "aes-status*", "aes-lock*", "aes.*"}}}},
};

constexpr std::size_t most_faults = 400; // that a step is tried on

bool matches(const Outcome& outcome, const std::string& fault) {
    return std::ranges::any_of(outcome.faults, [&](const char* pattern) {
        return fnmatch(pattern, fault.c_str(), 0) == 0;
    });
}

// The faults by what is seen then; those that the step has nothing to do with stand last.
std::vector<std::vector<std::string>> parted(const Step& step,
                                             const std::vector<std::string>& faults) {
    std::vector<std::vector<std::string>> parts(step.outcomes.size() + 1);
    for (const std::string& fault : faults) {
        const auto outcome = std::ranges::find_if(
            step.outcomes, [&](const Outcome& one) { return matches(one, fault); });
        parts[static_cast<std::size_t>(outcome - step.outcomes.begin())].push_back(fault);
    }
    return parts;
}

// The faults that are left on average when each is as likely. What the step says nothing of is left
// whatever is seen.
double left_by(const std::vector<std::vector<std::string>>& parts, std::size_t all) {
    const std::size_t beside = parts.back().size();
    std::size_t squares = beside * all;
    for (std::size_t i = 0; i + 1 < parts.size(); ++i)
        squares += parts[i].size() * (parts[i].size() + beside);
    return static_cast<double>(squares) / static_cast<double>(all);
}

std::vector<std::string> faults_of(const std::vector<Candidate>& candidates) {
    std::vector<std::string> faults;
    for (const Candidate& candidate : candidates)
        for (const std::string& fault : candidate.faults)
            if (faults.size() < most_faults && std::ranges::find(faults, fault) == faults.end())
                faults.push_back(fault);
    return faults;
}

} // namespace

std::optional<NextStep> step_for(const std::vector<Candidate>& candidates) {
    const std::vector<std::string> faults = faults_of(candidates);
    const Step* best = nullptr;
    auto least = static_cast<double>(faults.size());
    for (const Step& step : steps) {
        const double left = faults.empty() ? 0 : left_by(parted(step, faults), faults.size());
        if (left >= least) continue;
        best = &step;
        least = left;
    }
    if (best == nullptr) return std::nullopt;
    NextStep next{best->action, {}};
    auto parts = parted(*best, faults);
    for (std::size_t i = 0; i < best->outcomes.size(); ++i) {
        const Outcome& outcome = best->outcomes.begin()[i];
        if (!parts[i].empty())
            next.branches.push_back({outcome.seen, outcome.tells, std::move(parts[i])});
    }
    return next;
}

} // namespace k4sim

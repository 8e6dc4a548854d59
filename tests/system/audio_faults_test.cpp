// Every fault of the sound card, the analog loop and the digital line. On the board plain,
// which can never pass, a run that nothing is wrong with ends by the operator's abort.
#include "fault_case.h"

namespace {

using namespace k4test;

class AudioFault : public testing::TestWithParam<FaultCase> {};

TEST_P(AudioFault, CausesItsVerdict) { expect_verdict(GetParam()); }

constexpr const char* audio = "AnalogAudio";
constexpr const char* aes = "AES/EBU";

// Margins of RMS and DC of both inputs, in dB: above 0 is too loud.
constexpr const char* too_loud = "Silence/DC ([0-9.]+ ){2}-[0-9.]+ -[0-9.]+";
constexpr const char* too_much_dc = "Silence/DC -[0-9.]+ -[0-9.]+ [0-9.]+ [0-9.]+";
constexpr const char* no_loop = "Voltages, loopback";

INSTANTIATE_TEST_SUITE_P(
    Analog, AudioFault,
    testing::Values(
        FaultCase{"analog-cable=early", "plain", "ABORTED", audio, too_loud},
        FaultCase{"analog-cable=never", "plain", "ABORTED", audio, no_loop},
        FaultCase{"analog-cable=left", "aes", "ABORTED", audio, no_loop},
        FaultCase{"analog-cable=right", "plain", "ABORTED", audio, no_loop},
        FaultCase{"analog-cable=crossed", "aes", "PASSED", audio, "OK"},
        FaultCase{"analog-cable=phones", "plain", "ABORTED", audio, no_loop},
        FaultCase{"analog-crackle@5", "plain", "ABORTED", audio, "OK", "RMS=  -89.8"},
        FaultCase{"analog-dc=-30", "plain", "ABORTED", audio, too_much_dc},
        FaultCase{"analog-dc=-60", "plain", "ABORTED", audio, "OK"},
        FaultCase{"analog-droop=5000", "plain", "ABORTED", audio,
                  "Loop gain -?[0-9.]+ -?[0-9.]+ [(]2[)]", "  BAD  BAD"},
        FaultCase{"analog-gain=-6", "aes", "ABORTED", audio, "Loop gain -6[.]0 -6[.]0 [(]2[)]"},
        FaultCase{"analog-gain=4", "plain", "ABORTED", audio, "Loop gain 4[.]0 4[.]0 [(]2[)]",
                  "  BAD  BAD"},
        FaultCase{"analog-gain=1", "plain", "ABORTED", audio, "OK"},
        FaultCase{"analog-gain=-20", "plain", "ABORTED", audio, no_loop},
        FaultCase{"analog-hum=-40", "plain", "ABORTED", audio, too_loud},
        FaultCase{"analog-hum=-90", "plain", "ABORTED", audio, "OK"},
        FaultCase{"analog-input-dead=1", "plain", "ABORTED", audio, no_loop},
        FaultCase{"analog-input-dead=2@50", "plain", "ABORTED", audio,
                  "Loop gain -?0[.]0 -[1-9][0-9.]+ [(]2[)]", "   OK  BAD"},
        FaultCase{"analog-noise=-60", "plain", "ABORTED", audio, too_loud},
        FaultCase{"capture-overrun=3", "plain", "ABORTED", audio, no_loop, "", "sound/overrun"},
        FaultCase{"capture-overrun=3@35", "plain", "ABORTED", audio, "OK",
                  "!!!!! UNDERRUN - Recorder restart !!!!!", "sound/overrun"},
        FaultCase{"playback-underrun=2", "plain", "ABORTED", audio, "OK", "Playout restart!",
                  "sound/underrun"}),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    Card, AudioFault,
    testing::Values(
        FaultCase{"card-absent", "plain", "ABORTED", audio, "ALSA mixer error"},
        FaultCase{"card-absent", "aes", "ABORTED", aes, "Cannot open 'hw:0,1' capture"},
        FaultCase{"card-absent@4", "aes", "ABORTED", aes, "Cannot get AES lock status"},
        FaultCase{"card-absent@15", "aes", "ABORTED", aes, "Cannot get AES stream info"},
        FaultCase{"card-busy", "plain", "ABORTED", audio, "ALSA mixer error"},
        FaultCase{"card-element-missing=line-out", "plain", "ABORTED", audio, "ALSA mixer error"},
        FaultCase{"card-element-missing=line-in-level", "aes", "ABORTED", audio,
                  "ALSA mixer error"},
        FaultCase{"card-element-missing=micboost", "plain", "ABORTED", audio, "ALSA mixer error"},
        FaultCase{"card-element-missing=phantom", "aes", "PASSED", audio, "OK"},
        FaultCase{"card-mixer-refuses", "plain", "ABORTED", audio, no_loop},
        FaultCase{"card-parameters-refused", "plain", "ABORTED", audio, "ALSA PCM open error"}),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    Digital, AudioFault,
    testing::Values(
        FaultCase{"aes-cable=early", "aes", "ABORTED", aes, "Wait for cable unplugged"},
        FaultCase{"aes-cable=never", "aes", "ABORTED", aes, "Wait for 32000 Hz 'LOCK'"},
        FaultCase{"aes-lock-lost@10", "aes", "PASSED", aes, "OK", "Lost lock"},
        FaultCase{"aes-measured-rate=0", "aes", "ABORTED", aes, "Wait for 32000 Hz 'LOCK'"},
        FaultCase{"aes-measured-rate=32000", "aes", "ABORTED", aes, "Wait for 44100 Hz 'LOCK'"},
        FaultCase{"aes-rate-dead=48000", "aes", "ABORTED", aes, "Wait for 48000 Hz 'LOCK'"},
        FaultCase{"aes-receiver-absent", "aes", "ABORTED", aes, "Cannot open 'hw:0,1' capture"},
        FaultCase{"aes-status-rate=32000", "aes", "ABORTED", aes, "Wait for 44100 Hz 'LOCK'"},
        FaultCase{"aes-transmitter-absent", "aes", "ABORTED", aes, "Cannot open 'hw:0,1' playback"},
        FaultCase{"aes-transmitter-refuses", "aes", "ABORTED", aes, "SR config error -1"}),
    name_of);

} // namespace

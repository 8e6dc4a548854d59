// The list of faults, what is said of one that can't be had, and how long those of the links last;
// the files of what is played.
#include "fake_surroundings.h"
#include "support/scratch_folder.h"

#include "sim/machine/wave_files.h"
#include "sim/models/device.h"
#include "sim/models/faults.h"
#include "sim/models/sound/wave.h"
#include "sim/models/universe.h"

#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <set>
#include <unistd.h>

using namespace k4sim;

namespace {

TEST(FaultsTest, EachTakesTheExampleOfItsErrorWhereItsSiteIsTheDevice) {
    for (const Fault& fault : fault_list()) {
        FakeSurroundings surroundings;
        const Board board = fault.needs == Fault::Needs::aes ? Board::aes : Board::i2c;
        Device device(board, surroundings);
        const std::string error = fault_error(board, fault.name, "?");
        const bool takes_value = fault.value != Fault::Value::none;
        const std::string example = takes_value ? error.substr(error.rfind('=') + 1) : "";
        EXPECT_EQ(fault_error(board, fault.name, example), "");
        EXPECT_EQ(device.set_fault(fault.name, example), fault.site == Fault::Site::device)
            << fault.name;
        EXPECT_EQ(device.clear_fault(fault.name, example),
                  fault.site == Fault::Site::device && !fault.passes)
            << fault.name;
        EXPECT_EQ(clear_error(board, fault.name, example).empty(), !fault.passes);
        EXPECT_FALSE(fault.breaks.empty() || fault.verdict.empty()) << fault.name;
        EXPECT_EQ(find_fault(fault.name), &fault);
    }
    EXPECT_TRUE(std::ranges::is_sorted(fault_list(), {}, &Fault::name));
}

TEST(FaultsTest, AnErrorNamesTheFaultAndTheWayOut) {
    const struct {
        Board board;
        std::string_view name, value;
        const char* text;
    } cases[] = {
        {Board::aes, "key-hold", "7", "lists all there are; did you mean key-held?"},
        {Board::aes, "gremlin", "", "unknown fault gremlin: \"k4sim faults\" lists all there are"},
        {Board::aes, "analog-gain", "-100.1",
         "a number from -100 to 40 dB: for example analog-gain=-3.1"},
        {Board::aes, "analog-gain", "nan", "from -100 to 40 dB"},
        {Board::aes, "serial-late", "0x10", "from 1 to 3600 seconds: for example serial-late=7.5"},
        {Board::aes, "key-held", "L", "fault key-held needs a key, one of 0123456789*#KEACDM"},
        {Board::aes, "parallel-open", "8",
         "needs a number from 0 to 7: for example parallel-open=3"},
        {Board::aes, "panel-dead", "1", "takes no value"},
        {Board::aes, "parallel-flaky", "3", "needs LINE:N, two numbers from 0:1 to 7:1000000"},
        {Board::aes, "sda-stuck", "0", "board aes: choose board i2c or engine"},
        {Board::plain, "aes-receiver-absent", "", "board plain: choose board aes"},
        {Board::aes, "parallel.wire3", "close", "fault parallel.wire3 needs one of open"},
        {Board::i2c, "aes.cable", "open", "has nothing to break on board i2c: choose board aes"},
        {Board::aes, "keys.enkoder1.phaseA", "stuck-0", "did you mean keys.encoder1.phaseA"},
        {Board::none, "panel-dead", "", "board none: choose board aes, plain, i2c or engine"},
    };
    for (const auto& [board, name, value, text] : cases) {
        EXPECT_THAT(fault_error(board, name, value), testing::HasSubstr(text));
        FakeSurroundings surroundings;
        EXPECT_FALSE(Device(board, surroundings).set_fault(name, value)) << name << "=" << value;
    }
    EXPECT_EQ(fault_error(Board::none, "no-privilege", ""), "");
    EXPECT_EQ(fault_decimal("-3.1"), -3.1);
}

// One fault is cleared while another still breaks the same.
TEST(FaultsTest, AMendedCardStillLacksItsDigitalParts) {
    FakeSurroundings surroundings;
    Device device(Board::aes, surroundings);
    for (const char* name : {"aes-receiver-absent", "card-absent"})
        EXPECT_TRUE(device.set_fault(name, ""));
    EXPECT_TRUE(device.clear_fault("card-absent", ""));
    PcmDevice& digital = *device.sound_card().pcm(1);
    EXPECT_EQ(digital.capture().open(), PcmStream::OpenResult::absent);
    EXPECT_EQ(digital.playback().open(), PcmStream::OpenResult::opened);
    EXPECT_TRUE(device.clear_fault("aes-receiver-absent", ""));
    EXPECT_EQ(digital.capture().open(), PcmStream::OpenResult::opened);
}

// What a stream was told, byte by byte, in pieces: a new one of each opening, rate and format.
TEST(SoundFiles, HoldWhatWasPlayed) {
    const ScratchFolder folder;
    const int descriptor = open(folder.path().c_str(), O_PATH | O_DIRECTORY);
    std::string cut;
    FakeSurroundings surroundings;
    WaveFiles files;
    files.open(
        descriptor, [] { return 1'500'000; }, [&](std::string_view why) { cut = why; });
    surroundings.listener = &files;
    Device device(Board::plain, surroundings);
    PcmStream& stream = device.sound_card().pcm(0)->playback();
    const auto play = [&](SampleFormat format, unsigned rate_hz, const void* samples,
                          unsigned frames) {
        EXPECT_TRUE(stream.configure({format, rate_hz, 4, 64}));
        EXPECT_EQ(stream.write(samples, frames), frames);
        EXPECT_TRUE(stream.start());
        surroundings.advance(2 * us_per_second / rate_hz); // two frames, and no more
    };
    const std::int16_t words[] = {1, -2, 3, -32768, 32767, 6, 7, 8, 9, 10, 11, 12};
    const std::int32_t longs[] = {0x7FFFFFFF, -65536, 65536 * 5, 0, 1, 2, 3, 4};
    const float reals[] = {0.5F, -1, 2, 0, 0, 0, 0, 0.25F};
    EXPECT_EQ(stream.open(), PcmStream::OpenResult::opened);
    play(SampleFormat::s16, 8000, words, 1); // before the device is the process's
    files.write_on();
    play(SampleFormat::s16, 8000, words, 3);
    play(SampleFormat::s16, 8000, words, 3);
    play(SampleFormat::s32, 8000, longs, 2);
    stream.release();
    play(SampleFormat::float32, 16000, reals, 2);
    stream.close();
    EXPECT_EQ(stream.open(), PcmStream::OpenResult::opened);
    play(SampleFormat::float32, 16000, reals, 2);
    stream.close();
    const std::vector<std::int16_t> twice = {1, -2, 3, -32768, 32767, 6, 7, 8,
                                             1, -2, 3, -32768, 32767, 6, 7, 8};
    const std::vector<std::int16_t> real = {16384, -32768, 32767, 0, 0, 0, 0, 8192};
    const struct {
        unsigned rate_hz;
        std::vector<std::int16_t> samples;
    } expected[] = {{8000, twice}, {8000, {32767, -1, 5}}, {16000, real}, {16000, real}};
    int number = 0;
    for (auto [rate_hz, samples] : expected) {
        samples.resize(std::max<std::size_t>(samples.size(), 8));
        const auto bytes = static_cast<std::uint32_t>(samples.size() * 2);
        const auto head = wave_head(rate_hz, 4, bytes);
        std::string whole(head.begin(), head.end());
        whole.append(reinterpret_cast<const char*>(samples.data()), bytes);
        const std::string name = "000" + std::to_string(++number) + "-device0-playback-1.500s.wav";
        std::ostringstream held;
        held << std::ifstream(folder.file(name), std::ios::binary).rdbuf();
        EXPECT_EQ(held.str(), whole) << name;
    }
    EXPECT_EQ(cut, "");
    close(descriptor);
}

TEST(FaultsTest, AFlappingLinkIsDownAndUpForItsTimes) {
    FakeSurroundings surroundings;
    Device device(Board::none, surroundings);
    std::string seen;
    device.set_fault("link-flapping", "usb0");
    for (int ms = 0; ms <= 10'000; ++ms, surroundings.advance(1000))
        for (const std::string& event : std::exchange(surroundings.events, {}))
            seen += std::to_string(ms) + event.substr(4, event.find(" interface") - 4) + " ";
    EXPECT_EQ(seen, "0 down 1000 up 5000 down 6000 up 10000 down ");
}

// What a model names can be broken and mended, and what is mended is as good as new.
TEST(UniverseTest, EverySiteCanBeBrokenAndMended) {
    std::size_t faults = 0;
    for (const Board board : {Board::aes, Board::plain, Board::i2c, Board::engine}) {
        FakeSurroundings surroundings;
        Device device(board, surroundings);
        Device fresh(board, surroundings);
        std::set<std::string> names;
        for (const SiteFault& one : universe(board)) {
            EXPECT_TRUE(names.insert(one.fault).second) << one.fault;
            EXPECT_EQ(one.why.empty(), one.expected == Finding::detected) << one.fault;
            const std::size_t equals = one.fault.find('=');
            const std::string site = one.fault.substr(0, equals);
            if (!is_site(site)) continue;
            const std::string way = one.fault.substr(equals + 1);
            EXPECT_EQ(fault_error(board, site, way), "");
            EXPECT_TRUE(device.set_fault(site, way) && device.clear_fault(site, way)) << one.fault;
        }
        device.loopback().drive(0);
        for (unsigned port = 0; port < 0x10000; ++port)
            EXPECT_EQ(device.in(static_cast<std::uint16_t>(port)),
                      fresh.in(static_cast<std::uint16_t>(port)))
                << port;
        EXPECT_EQ(device.oled()->picture(), fresh.oled()->picture());
        EXPECT_GT(names.size(), 300U);
        faults += names.size();
    }
    EXPECT_GT(faults, 1200U);
}

} // namespace

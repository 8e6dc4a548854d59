// From symptoms to faults: what makes signs alike, what is learned, ranked and done next.
#include "sim/diagnosis/diagnosis.h"
#include "sim/diagnosis/fault_words.h"

#include <gmock/gmock.h>

namespace {

using namespace k4sim;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(Diagnosis, TellsNumbersFromNames) {
    const std::pair<const char*, std::pair<const char*, std::vector<double>>> cases[] = {
        {"Loop gain (line) -6.0  0.3 (2)", {"Loop gain (line) # # (#)", {-6, 0.3, 2}}},
        {"Wait for 48000 Hz 'LOCK'", {"Wait for 48000 Hz 'LOCK'", {}}},
        {"Bit status: 0+1+L00H", {"Bit status: 0+1+L00H", {}}},
        {"Bit status: 11111111", {"Bit status: 11111111", {}}},
        {"USB-0: Opened /dev/ttyUSB0", {"USB-0: Opened /dev/ttyUSB0", {}}},
        {"5", {"5", {}}},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(shaped(text).shape, expected.first);
        EXPECT_EQ(shaped(text).numbers, expected.second) << text;
    }
    const auto alike = [](const char* one, const char* other) {
        return likeness(shaped(one), shaped(other));
    };
    EXPECT_EQ(alike("gain -6.0", "gain -6.2"), 1);
    const double in_order[] = {alike("gain -6.0", "gain -6.0"), alike("gain -6.0", "gain -8.0"),
                               alike("gain -6.0", "gain 30"), alike("gain -6.0", "gain 1 2"),
                               alike("gain -6.0", "DC")};
    EXPECT_TRUE(std::ranges::is_sorted(in_order, std::greater_equal()));
}

Json result(const char* board, const char* fault, const char* found,
            const std::vector<Sign>& signs) {
    return Json::parse(Json::object()
                           .set("board", board)
                           .set("fault", fault)
                           .set("class", found)
                           .set("symptoms", as_json(signs))
                           .dump())
        .value();
}

std::vector<Json> campaign() {
    const auto usb = [](const char* text) {
        return std::vector<Sign>{{"line", "USB"}, {"row AES/EBU", "OK"}, {"row USB Ports", text}};
    };
    return {result("aes", "serial-absent=1", "detected", usb("Missing USBs: 1")),
            result("aes", "serial-absent=2", "detected", usb("Missing USBs: 1")),
            result("plain", "serial-absent=1", "detected", usb("Missing USBs: 1")),
            result("aes", "serial-byte-lost=300", "detected", usb("In progress: 14")),
            result("aes", "serial-byte-lost=900", "detected", usb("In progress: 44")),
            result("aes", "serial-cable=none", "misleading",
                   {{"line", "-"}, {"row AES/EBU", "OK"}, {"row USB Ports", "In progress: 0"}}),
            result("aes", "analog-cable=crossed", "escaped", usb("OK"))};
}

std::vector<std::vector<std::string>> faults_for(const Symptoms& seen, const std::string& board,
                                                 const Knowledge& knowledge) {
    std::vector<std::vector<std::string>> faults;
    for (const Candidate& candidate : diagnosis_of(seen, board, knowledge).candidates)
        faults.push_back(candidate.faults);
    return faults;
}

TEST(Diagnosis, LearnsWhatLooksTheSame) {
    std::vector<Json> results = campaign();
    const Knowledge knowledge = Knowledge::learned(results);
    std::ranges::reverse(results);
    EXPECT_EQ(Knowledge::learned(results).text(), knowledge.text());
    EXPECT_EQ(Knowledge::parsed(knowledge.text()).text(), knowledge.text());
    EXPECT_EQ(knowledge.classes().size(), 5);
    const Symptoms missing = symptoms_of_rows({{"USB Ports", "Missing USBs: 1"}});
    EXPECT_THAT(faults_for(missing, "aes", knowledge)[0],
                ElementsAre("serial-absent=1", "serial-absent=2"));
    EXPECT_THAT(faults_for(missing, "plain", knowledge),
                ElementsAre(ElementsAre("serial-absent=1")));
    const Diagnosis anywhere = diagnosis_of(missing, "", knowledge);
    EXPECT_THAT(anywhere.candidates[0].boards, ElementsAre("aes", "plain"));
    EXPECT_THAT(faults_for(symptoms_of_rows({{"USB Ports", "In progress: 40"}}), "", knowledge)[0],
                ElementsAre("serial-byte-lost=900"));
    const Judgement same = judge(campaign(), knowledge);
    EXPECT_EQ(same.runs, 5);
    EXPECT_EQ(same.first, 5);
    std::vector<Json> other = campaign();
    other.push_back(result("aes", "speaker-absent", "detected", {{"line", "?"}}));
    EXPECT_THAT(judge(other, knowledge).missed, ElementsAre("aes speaker-absent"));
    EXPECT_THROW(Knowledge::learned({campaign().back()}), std::runtime_error);
    for (const char* wrong : {"sign\trow", "aes\t0\tkey-dead=5", "sign\tline\tx\naes\tx\tf"})
        EXPECT_THROW(Knowledge::parsed(wrong), std::runtime_error) << wrong;
}

// By what k4sim knows itself.
TEST(Diagnosis, KnowsWhatItCantKnow) {
    using State = Diagnosis::State;
    const struct {
        std::vector<std::pair<std::string, std::string>> rows;
        State state;
        const char* fault; // among the candidates
    } cases[] = {
        {{{"Ethernet", "LAN-??   WAN-ok"}}, State::found, "link-down=eth0"},
        {{{"Frontpanel", "5"}, {"Ethernet", "OK"}}, State::found, "key-dead=5"},
        {{{"AES/EBU", "Wait for 48000 Hz 'LOCK'"}}, State::found, "aes-rate-dead=48000"},
        {{{"AnalogAudio", "Loop gain -3.0 -3.2 (2)"}}, State::found, "analog-gain=-3.1"},
        {{{"AnalogAudio", "Flux low"}}, State::unknown, ""},
        {{{"USB Ports", "Paper jam"}, {"Ethernet", "OK"}}, State::unknown, ""},
        {{{"USB Ports", "OK"}, {"AES/EBU", ""}}, State::nothing_failed, ""},
        {{{"ParallelPrt", "Bit status: ++++++++"}, // in the middle of a run
          {"Ethernet", "LAN-ok   WAN-??"},
          {"Frontpanel", "123456789*#LRKEACDMhH"},
          {"USB Ports", "In progress: 13"},
          {"AnalogAudio", "Silence/DC 0.0 0.0 0.0 0.0"},
          {"AES/EBU", "Wait for cable unplugged"}},
         State::found,
         "link-refused=usb0"},
    };
    for (const auto& [rows, state, fault] : cases) {
        const Diagnosis found = diagnosis_of(symptoms_of_rows(rows), "", Knowledge::own());
        EXPECT_EQ(found.state, state) << as_text(found);
        if (state == State::found) {
            EXPECT_THAT(as_json(found).dump(), HasSubstr("\"" + std::string(fault) + "\""));
        }
    }
}

TEST(Diagnosis, GoesOnWithTheStepThatLeavesTheFewest) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"analog-cable=left", "analog-input-dead=1"}, "crosswise"},
        {{"link-absent=eth0", "link-down=eth0", "link-refused=eth0"}, "ip link"},
        {{"serial-absent=1", "serial-absent=2"}, "another adapter"},
        {{"key-dead=5"}, ""},
    };
    for (const auto& [faults, action] : cases) {
        const std::optional<NextStep> next = step_for({{1, {"aes"}, faults}});
        ASSERT_EQ(next.has_value(), *action != '\0') << faults[0];
        if (!next) continue;
        EXPECT_THAT(next->action, HasSubstr(action));
        std::vector<std::string> left;
        for (const Branch& branch : next->branches)
            left.insert(left.end(), branch.faults.begin(), branch.faults.end());
        EXPECT_THAT(left, testing::UnorderedElementsAreArray(faults));
        EXPECT_GT(next->branches.size(), 1);
    }
}

TEST(Diagnosis, NamesAFaultInWords) {
    const std::pair<const char*, const char*> cases[] = {
        {"key-dead=5", "key 5 never reports that it is pressed"},
        {"parallel-high=3", "input line 3 of the parallel port is stuck high"},
        {"parallel.in.bit3=stuck-0", "bit 3 of input of the parallel port is stuck at 0"},
        {"aes.receiver.bit0=flaky-3", "bit 0 of receiver of AES/EBU is wrong once in 3 times"},
    };
    for (const auto& [fault, words] : cases)
        EXPECT_EQ(fault_in_words(fault), words);
}

} // namespace

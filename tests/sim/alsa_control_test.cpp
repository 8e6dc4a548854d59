#include "alsa_client.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <string>
#include <vector>

using namespace k4sim;

namespace {

struct Mixer : Opened<snd_mixer_t, snd_mixer_close> {
    explicit Mixer(const char* name)
        : Opened([](snd_mixer_t** handle) { return snd_mixer_open(handle, 0); }) {
        EXPECT_EQ(snd_mixer_attach(*this, name), 0);
        EXPECT_EQ(snd_mixer_selem_register(*this, nullptr, nullptr), 0);
        EXPECT_EQ(snd_mixer_load(*this), 0);
    }
    std::vector<std::string> names() {
        std::vector<std::string> found;
        for (snd_mixer_elem_t* element = snd_mixer_first_elem(*this); element != nullptr;
             element = snd_mixer_elem_next(element))
            found.emplace_back(snd_mixer_selem_get_name(element));
        return found;
    }
};

// An element of the digital line, written and read by its name.
class Element {
public:
    explicit Element(const char* name) {
        snd_ctl_elem_value_malloc(&value_);
        snd_ctl_elem_value_set_interface(value_, SND_CTL_ELEM_IFACE_PCM);
        snd_ctl_elem_value_set_device(value_, 1);
        snd_ctl_elem_value_set_name(value_, name);
    }
    ~Element() { snd_ctl_elem_value_free(value_); }
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;
    operator snd_ctl_elem_value_t*() const { return value_; }

private:
    snd_ctl_elem_value_t* value_ = nullptr;
};

using AlsaControlTest = AlsaTest;

// The stock configuration gives a control device one argument, the card.
TEST_F(AlsaControlTest, OpensUnderTheStockNames) {
    static constexpr struct {
        const char* name;
        int result;
    } cases[] = {
        {"hw:0", 0},       {"default", 0},     {"hw:K4", 0},          {"hw", 0},
        {"hw:1", -ENOENT}, {"hw:99", -EINVAL}, {"hw:Other", -ENODEV}, {"default:1", -ENOENT},
    };
    for (const auto& row : cases)
        EXPECT_EQ(Control(row.name).result, row.result) << row.name;
    EXPECT_EQ(Control("hw:0,1").result, -ENOENT);
    EXPECT_THAT(complaints(), testing::HasSubstr("Unknown parameter 1"));
    card().remove();
    EXPECT_EQ(Control("hw:0").result, -ENOENT);
}

TEST_F(AlsaControlTest, TheSettingsOfTheUserPlayNoPart) {
    const auto home = std::filesystem::temp_directory_path() / "k4sim-alsa-home";
    std::filesystem::create_directory(home);
    std::ofstream(home / ".asoundrc") << "ctl.!default { type nonsense }\n";
    const std::string former = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    setenv("HOME", home.c_str(), 1);
    snd_config_update_free_global(); // the next use reads everything anew
    EXPECT_EQ(Control("default").result, 0) << complaints();
    setenv("HOME", former.c_str(), 1);
    std::filesystem::remove_all(home);
}

TEST_F(AlsaControlTest, TheSimpleMixerHasTheElementsOfTheBoard) {
    using testing::UnorderedElementsAre;
    EXPECT_THAT(Mixer("default").names(),
                UnorderedElementsAre("Headphone", "Line Out", "Line In", "Line In Level"));
    use_board(Board::plain);
    EXPECT_THAT(Mixer("hw:0").names(),
                UnorderedElementsAre("Headphone", "Line Out", "Line In", "Line In Level",
                                     "MicBoost", "Phantom"));
    card().set_control_missing("Line In Level");
    EXPECT_THAT(Mixer("default").names(),
                UnorderedElementsAre("Headphone", "Line Out", "Line In", "MicBoost", "Phantom"));
}

TEST_F(AlsaControlTest, DigitalElementsAreWrittenByNameOnDeviceOne) {
    const Control control("hw:0");
    const Element channel("IEC958 Playback TXC Channel");
    for (unsigned i = 0; i < 24; ++i)
        snd_ctl_elem_value_set_byte(channel, i, static_cast<unsigned char>(0xC1 + i));
    EXPECT_EQ(snd_ctl_elem_write(control, channel), 1);
    EXPECT_EQ(snd_ctl_elem_write(control, channel), 0);
    EXPECT_EQ(card().aes()->channel_status()[23], 0xC1 + 23);

    const Element state("IEC958 Playback TXC State");
    snd_ctl_elem_value_set_integer(state, 0, 1);
    EXPECT_EQ(snd_ctl_elem_write(control, state), 1);
    EXPECT_TRUE(card().aes()->transmitter_on());
    snd_ctl_elem_value_set_integer(state, 0, 0);
    EXPECT_EQ(snd_ctl_elem_read(control, state), 0);
    EXPECT_EQ(snd_ctl_elem_value_get_integer(state, 0), 1);
    snd_ctl_elem_value_set_integer(state, 0, 2);
    EXPECT_EQ(snd_ctl_elem_write(control, state), -EINVAL);

    const Element status("IEC958 Capture RXP Status");
    EXPECT_EQ(snd_ctl_elem_read(control, status), 0);
    EXPECT_EQ(snd_ctl_elem_value_get_integer(status, 0), card().aes()->receiver_status());
    EXPECT_EQ(snd_ctl_elem_write(control, status), -EPERM);
}

} // namespace

#include "sim/host/real_serial.h"

#include "sim/host/clocks.h"
#include "sim/host/line_settings.h"
#include "sim/host/real_file.h"
#include "sim/machine/machine.h"
#include "sim/setup.h"
#include "sim/time/keep_errno.h"
#include "sim/time/scheduler.h"

#include <asm/ioctls.h>
#include <string>

namespace k4sim {

namespace {

constexpr Microseconds together_us = 50'000;

// What a program reads byte by byte, put together again.
struct Reception {
    int number;
    std::string text{};
};

class RealSerial final : public RealFile {
public:
    RealSerial(std::string path, int number)
        : RealFile(std::move(path)), reception_(std::make_shared<Reception>(number)) {}
    ~RealSerial() override { tell(*reception_); }

    ssize_t read(void* data, std::size_t size) override {
        const ssize_t count = RealFile::read(data, size);
        if (count > 0) note({static_cast<const char*>(data), static_cast<std::size_t>(count)});
        return count;
    }

    ssize_t write(const void* data, std::size_t size) override {
        const ssize_t count = RealFile::write(data, size);
        if (count > 0)
            machine().event("serial", "sent",
                            {{"device", number()},
                             {"text", std::string_view(static_cast<const char*>(data),
                                                       static_cast<std::size_t>(count))}});
        return count;
    }

    int control(unsigned long request, void* argument) override {
        if (waits_for_output(request) || request == TCSBRK) wait_until_sent();
        const int result = RealFile::control(request, argument);
        if (result >= 0 && is_change_of_settings(request)) tell_settings();
        return result;
    }

private:
    std::int64_t number() const { return reception_->number; }

    static void tell(Reception& reception) {
        const KeepErrno keep_errno;
        if (!reception.text.empty())
            machine().event("serial", "received",
                            {{"device", std::int64_t{reception.number}},
                             {"text", std::string_view(reception.text)}});
        reception.text.clear();
    }

    void note(std::string_view bytes) {
        if (reception_->text.empty())
            machine().at(scheduler().now() + together_us,
                         [reception = reception_] { tell(*reception); });
        reception_->text += bytes;
    }

    void tell_settings() {
        const LineSettings settings = line_settings(descriptor());
        machine().event("serial", "settings",
                        {{"device", number()},
                         {"baud", std::int64_t{settings.baud}},
                         {"raw", !settings.answers}});
    }

    // In the kernel nobody else would have a turn meanwhile.
    void wait_until_sent() {
        for (int unsent = 0; RealFile::control(TIOCOUTQ, &unsent) >= 0 && unsent > 0;)
            sleep_until(scheduler().now() + real_look_us);
    }

    std::shared_ptr<Reception> reception_;
};

} // namespace

std::unique_ptr<OpenFile> open_real_serial(const RealPart& part, int number) {
    const auto place = static_cast<std::size_t>(number);
    if (part.names.empty())
        return std::make_unique<RealSerial>("/dev/ttyUSB" + std::to_string(number), number);
    if (place >= part.names.size()) return nullptr;
    return std::make_unique<RealSerial>(part.names[place], number);
}

} // namespace k4sim

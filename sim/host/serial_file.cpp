#include "sim/host/serial_file.h"

#include "sim/host/descriptors.h"
#include "sim/host/real_serial.h"
#include "sim/host/serial_terminal.h"
#include "sim/machine/machine.h"
#include "sim/models/device.h"
#include "sim/setup.h"
#include "sim/time/unobserved.h"

#include <string>

namespace k4sim {

namespace {

// All that have opened one device share its terminal.
class SerialFile final : public OpenFile {
public:
    explicit SerialFile(std::shared_ptr<SerialTerminal> terminal) : terminal_(std::move(terminal)) {
        terminal_->opened();
    }
    ~SerialFile() override { terminal_->closed(); }

    std::string path() const override { return terminal_->path(); }
    bool still_open() const override { return !terminal_->left(); }
    bool readable() const override { return terminal_->readable(); }
    bool writable() const override { return terminal_->writable(); }
    Microseconds ready_at() const override { return machine().device().serial().next_frame_at(); }

    ssize_t read(void* data, std::size_t size) override { return terminal_->read(data, size); }
    ssize_t write(const void* data, std::size_t size) override {
        return terminal_->write(data, size);
    }
    int control(unsigned long request, void* argument) override {
        const auto terminal = terminal_; // which may wait, and this file be closed meanwhile
        return terminal->control(request, argument);
    }

private:
    const std::shared_ptr<SerialTerminal> terminal_;
};

// Nobody else attaches an end.
std::shared_ptr<SerialTerminal> terminal_of(const SerialAdapter& adapter) {
    return std::static_pointer_cast<SerialTerminal>(adapter.end());
}

std::unique_ptr<OpenFile> open_serial(int device_number) {
    const Unobserved unobserved;
    if (const RealPart* real = real_part(machine().setup(), Role::serial))
        return open_real_serial(*real, device_number);
    SerialAdapter* const adapter = machine().device().serial().find(device_number);
    if (adapter == nullptr) return nullptr;
    if (adapter->end() == nullptr)
        adapter->attach(std::make_shared<SerialTerminal>(*adapter, device_number));
    return std::make_unique<SerialFile>(terminal_of(*adapter));
}

} // namespace

void add_serial_devices() {
    std::string path = "/dev/ttyUSB0";
    for (int number = 0; number < SerialAdapters::device_numbers; ++number, ++path.back())
        descriptors().add_device(path, [number] { return open_serial(number); });
}

void leave_serial_lines() {
    for (const int number : {1, 2})
        if (const auto terminal = terminal_of(machine().device().serial()[number]))
            terminal->leave();
}

} // namespace k4sim

// What the kernel makes of a serial adapter: a terminal with its line discipline. It is a
// real pseudo-terminal: the program has its slave open, and the adapter is at the master.
// So the kernel judges every byte; only waiting is done in virtual time.
//
// What has come through the line discipline is taken from the kernel at once and kept here
// for the program's reads. The kernel works on what comes from the master behind the
// back, but has done all of it when a read finds no more: so nothing depends on real time.
//
// NOTE: a read in raw mode waits for VMIN bytes, at least one; VTIME is not modelled. The
// last close does not wait for what is not sent yet.
#pragma once

#include "sim/models/lines/serial_adapter.h"

#include <deque>
#include <string>
#include <sys/types.h>

namespace k4sim {

class SerialTerminal final : public SerialEnd {
public:
    // Set as the kernel sets a new adapter: 9600 baud, cooked, with echo. Ends the run when
    // the system has no pseudo-terminal. `device_number` is for the record.
    SerialTerminal(SerialAdapter& adapter, int device_number);
    ~SerialTerminal() override;
    SerialTerminal(const SerialTerminal&) = delete;
    SerialTerminal& operator=(const SerialTerminal&) = delete;

    // Of the slave.
    const std::string& path() const { return path_; }

    // One more descriptor, or one less. What arrives while there is none is lost.
    void opened() { ++open_count_; }
    void closed();

    // As of OpenFile. A request that waits for output does so in virtual time. Event
    // "settings" when they were set.
    bool readable();
    bool writable() const;
    ssize_t read(void* data, std::size_t size);
    ssize_t write(const void* data, std::size_t size);
    int control(unsigned long request, void* argument);

    // Of the adapter. Event "overrun" for a byte that comes while too many wait.
    void arrive(std::uint8_t byte) override;
    void hang_up() override;

    // Closes what the process inherited, and takes no part any more.
    void leave();
    bool left() const { return slave_ < 0; }

private:
    void open_pair();
    void close_master();
    void set_initially();
    void learn_settings();
    int change_settings(unsigned long request, void* argument);
    int flush(unsigned long request, void* argument);
    int kernel_control(unsigned long request, void* argument) const;
    void wait_until_sent();
    void take_in();
    void pull();
    void send_out();
    bool has_enough() const;
    std::size_t waiting() const;

    SerialAdapter* adapter_; // null: it hung up
    const int device_number_;
    std::string path_;
    int master_ = -1;
    int slave_ = -1; // our own, which never blocks
    int open_count_ = 0;
    // As the program has set it.
    bool canonical_ = true;
    bool answers_ = true; // the line discipline may send by itself: echo, flow control
    std::size_t read_minimum_ = 1;
    std::string arrived_;           // not yet seen by the line discipline
    std::deque<std::string> input_; // for reads; in canonical mode line by line
};

} // namespace k4sim

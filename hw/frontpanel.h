#pragma once

#include "baselib/thread/sharedmemory.h"
#include "grc/display.h"
#include "hw/keypad.h"
#include "hw/mainboard_cpld.h"
#include "hw/oled.h"
#include "hw/write_changes.h"

#include <memory>

// The whole front panel: the mainboard CPLD and the link to the panel, the OLED with its
// pixel memory, and the keys.
//
// After init() draw on `display` and send what changed with
// `writer->commitFrom(display, true)`; `writer` is null while there is no OLED. No
// locking: callers on several threads guard their calls.
class CHfrontpanelK4 : public CHmainboardCPLD_K4 {
public:
    static constexpr int errorSharedMemory = -3;
    static constexpr int errorNoController = -49997;

    // Finds the panel and switches its display on, with the picture black. shmKey of 1 or
    // more puts the pixel memory into shared memory of that key. May be called again.
    //
    // Returns 0, or
    //     errorSharedMemory   the shared memory could not be had
    //     -49999              no I/O privilege
    //     errorNoController   no known OLED controller answered
    // After an error there is no writer, and the display operations do nothing.
    [[nodiscard]] int init(int shmKey);

    // Brightness, limited to 0..100 percent.
    void dispContrast(int percent);

    // 0 = display off, 1 = on, 2 = on with every pixel lit (lamp test).
    void dispMode(int mode);

    // Reads the keys and returns the oldest key event, or -1 (see CHfpK4keyBuf).
    int kbdGetkey();

    // Removes the events at the head of the queue that equal the given one; returns how
    // many were removed.
    int kbdGetAll(int event);

    // Writes the display as a BMP file, grey level g as the colour 17 g. Returns true on
    // success; otherwise no file is left behind.
    [[nodiscard]] bool saveScreenImage(const char* path) const;

    std::unique_ptr<CHgenericWriteChanges> writer;
    GRCdisplay display;

private:
    bool initDisplay(int shmKey);
    int initController();

    std::unique_ptr<CHGenericOLEDController> controller_;
    CHfpK4keyBuf keys_;
    std::unique_ptr<KLTsharedMemory> shared_;
};

#pragma once
// A device file, such as a serial adapter, as a source and a sink of bytes.

#include "baselib/print/in.h"
#include "baselib/print/out.h"

// One thread at a time uses an object; nothing is locked. A closed device, null data and a
// negative count fail like a bad descriptor; errno tells why, where the kernel was asked.
// Opening, reading and writing are cancellation points, closing is none.
class KLTlxIOdev : public KLTin, public KLTout {
public:
    static constexpr int closed = -1; // descriptor() of a closed device

    // What transfers return, besides KLTioNoData.
    static constexpr int failed = -1;

    // blocking()
    static constexpr int noDescriptor = -1;
    static constexpr int flagsNotWritten = -2;

    KLTlxIOdev() = default;
    // As open().
    explicit KLTlxIOdev(const char* path);
    ~KLTlxIOdev() override;

    // Closes an open device first, whatever the path is. Then opens the path for reading and
    // writing. False for a null or empty path, or when the kernel refuses.
    bool open(const char* path);
    void close();
    bool isOpen() const { return fd_ >= 0; }
    int descriptor() const { return fd_; }

    // Clears (true) or sets (false) the bit 0x800 of the descriptor flags, not of the file
    // status flags: it tells whether the descriptor can be worked on, and reads go on
    // waiting as they did. 0, flagsNotWritten, or noDescriptor when the descriptor is 0.
    int blocking(bool on);

    // The calling thread's errno.
    static int syserr();

    // Waits for a byte, however long. The byte, or failed.
    int ichar() override;
    // The byte that is there already, KLTioNoData, or failed.
    int icharns() override;
    // Waits at most that many microseconds (a negative number: not at all). The byte,
    // KLTioNoData, or failed. At the end of a file, or when the device is gone, failed.
    int icharti(long long timeout_us) override;
    // One read of up to n bytes, waiting for the first. How many came, or failed.
    int iblock(void* data, int n) override;
    // 1 when a read would wait, else 0.
    int iempty() override;

    // Writes one byte. 1 when it was taken, else 0.
    int ochar(int c) override;
    // One write. 0 when all bytes were taken, else failed.
    int oblock(const void* data, int n) override;
    int ostring(const char* text) override;
    // 0: a device that is full makes the writer wait.
    int ofull() override { return 0; }

private:
    int waitReadable(long long timeout_us) const;

    int fd_ = closed;
};

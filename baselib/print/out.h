#pragma once
// Sinks: where bytes go.

// Results of sinks and sources, besides 0 for success.
inline constexpr int KLTioBadArgument = -6848;
inline constexpr int KLTioNoData = -6849;   // end of data; nothing there yet
inline constexpr int KLTioNoStream = -6842; // no underlying stream

class KLTnoncopyable {
public:
    KLTnoncopyable(const KLTnoncopyable&) = delete;
    KLTnoncopyable& operator=(const KLTnoncopyable&) = delete;

protected:
    constexpr KLTnoncopyable() = default;
    ~KLTnoncopyable() = default;
};

// A sink of bytes. A sink that is destroyed leaves every fan-out that it is attached to.
// Here blocks and strings are written by ochar, whatever it answers.
class KLTout {
public:
    constexpr KLTout() = default;
    KLTout(const KLTout&) = delete;
    KLTout& operator=(const KLTout&) = delete;
    virtual ~KLTout();

    // Take and give back the sink's lock. Without a lock: nothing.
    virtual void olock() {}
    virtual void orelease() {}

    // Writes the low 8 bits of c. 1 for success, else a negative code.
    virtual int ochar(int c) = 0;
    // Writes n bytes. 0, or KLTioBadArgument for null or n below 1: nothing is written then.
    virtual int oblock(const void* data, int n);
    // Writes the characters up to the NUL. 0, or KLTioBadArgument for null.
    virtual int ostring(const char* text);
    // Pushes buffered bytes on; all: also out of what lies behind the sink.
    // 0, or a negative code.
    virtual int oflush(bool all);
    // Whether the sink can take no more, as a number: 0 for no.
    virtual int ofull() = 0;

    // The sink that swallows everything; devNull.
    static KLTout* null();
};

// A sink with a position, such as a file. Positions in bytes; codes as above.
class KLToutStream : public KLTout {
public:
    virtual long opos() = 0;
    virtual int oseek(long position) = 0;
    virtual int oskip(int count) = 0;
    virtual long osize() = 0;
};

// Swallows everything.
class NullDeviceOut : public KLTout {
public:
    constexpr NullDeviceOut() = default;
    int ochar(int) override { return 1; }
    int oblock(const void* data, int n) override;
    int ostring(const char*) override { return 0; }
    int ofull() override { return 0; }
};

// Usable in every static initialiser and destructor.
extern NullDeviceOut& devNull;

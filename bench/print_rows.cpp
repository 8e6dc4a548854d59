// Numbers and lines, printed.

#include "table.h"

#include "baselib/print/astrs.h"
#include "baselib/print/nstream.h"
#include "baselib/print/print.h"

#include <cstdio>
#include <cstring>

#if __has_include(<fmt/format.h>)
#include <fmt/format.h>
#define K4_HAS_FMT 1
#endif

namespace {

// Takes what is printed as snprintf's buffer does.
class BufferSink : public KLTout {
public:
    int ochar(int c) override {
        characters[length++ % sizeof characters] = static_cast<char>(c);
        return 1;
    }
    int oblock(const void* data, int n) override {
        memcpy(characters, data, static_cast<size_t>(n));
        return 0;
    }
    int ofull() override { return 0; }

    char characters[256];
    unsigned length = 0;
};

BufferSink sink;
KLTprint print(sink);
char buffer[256];

template <long long value>
void addInteger(Table& table, const char* what, double goal) {
    static volatile long long number = value;
    table.compare(
        what, goal, "snprintf",
        [] {
            print << static_cast<long long>(number);
            keep(sink.characters);
        },
        [] {
            snprintf(buffer, sizeof buffer, "%lld", static_cast<long long>(number));
            keep(buffer);
        });
}

volatile unsigned int code = 0x1F3C9;
volatile int rounds = 57;
volatile double margins[] = {-11.8, -12.0, -25.3, -31.6};

} // namespace

void addPrintRows(Table& table) {
    addInteger<7>(table, "integer of 1 digit", 0.6);
    addInteger<2019>(table, "integer of 4 digits", 0.7);
    addInteger<201903041>(table, "integer of 9 digits", 1.0);
    addInteger<1234567890123456789>(table, "integer of 19 digits", 1.2);

    table.compare(
        "\"Silence/DC -11.8 ...\"", 0.9, "snprintf",
        [] {
            print << "Silence/DC";
            for (const volatile double& margin : margins)
                print << KLNstream::dblw(7, 1, 'f') << static_cast<double>(margin);
            keep(sink.characters);
        },
        [] {
            snprintf(buffer, sizeof buffer, "Silence/DC%7.1f%7.1f%7.1f%7.1f", margins[0],
                     margins[1], margins[2], margins[3]);
            keep(buffer);
        });

#ifdef K4_HAS_FMT
    table.compare(
        "hexadecimal of 5 digits", 0.8, "fmt::format_to",
        [] {
            print << KLNstream::hex << static_cast<unsigned int>(code);
            keep(sink.characters);
        },
        [] {
            *fmt::format_to(buffer, "{:x}", static_cast<unsigned int>(code)) = '\0';
            keep(buffer);
        });
    table.compare(
        "\"In progress: 57\" as a string", 1.5, "fmt::format",
        [] {
            KLTastrs text;
            text << "In progress: " << static_cast<int>(rounds);
            keep(KLTastr(text.str()).text());
        },
        [] { keep(fmt::format("In progress: {}", static_cast<int>(rounds)).data()); });
#else
    table.missing("hexadecimal of 5 digits", "fmt");
    table.missing("\"In progress: 57\" as a string", "fmt");
#endif
}

// Stand-ins for the functions of stdio that write: the text goes its way, then another thread
// may go on, as it may between two pieces of a line. Not inside, where the stream is locked.
// The symbol's name stands in quotes; the names with "_chk" are those of a hardened build.
#include "sim/host/real.h"
#include "sim/host/threads.h"

#include <cstdarg>
#include <cstdio>

namespace k4sim {

namespace {

template <typename Result, typename... Arguments>
Result write_by(const char* name, Arguments... arguments) {
    const Result result = real_function<Result(Arguments...)>(name)(arguments...);
    at_call();
    return result;
}

} // namespace

extern "C" {

int stand_in_fputc(int c, std::FILE* file) asm("fputc");
int stand_in_fputc(int c, std::FILE* file) { return write_by<int>("fputc", c, file); }

int stand_in_putc(int c, std::FILE* file) asm("putc");
int stand_in_putc(int c, std::FILE* file) { return write_by<int>("putc", c, file); }

int stand_in_putchar(int c) asm("putchar");
int stand_in_putchar(int c) { return write_by<int>("putchar", c); }

int stand_in_puts(const char* text) asm("puts");
int stand_in_puts(const char* text) { return write_by<int>("puts", text); }

int stand_in_fputs(const char* text, std::FILE* file) asm("fputs");
int stand_in_fputs(const char* text, std::FILE* file) { return write_by<int>("fputs", text, file); }

int stand_in_fflush(std::FILE* file) asm("fflush");
int stand_in_fflush(std::FILE* file) { return write_by<int>("fflush", file); }

std::size_t stand_in_fwrite(const void* data, std::size_t size, std::size_t count,
                            std::FILE* file) asm("fwrite");
std::size_t stand_in_fwrite(const void* data, std::size_t size, std::size_t count,
                            std::FILE* file) {
    return write_by<std::size_t>("fwrite", data, size, count, file);
}

int stand_in_printf(const char* format, ...) asm("printf");
int stand_in_printf(const char* format, ...) {
    va_list values;
    va_start(values, format);
    const int result = write_by<int>("vprintf", format, values);
    va_end(values);
    return result;
}

int stand_in_fprintf(std::FILE* file, const char* format, ...) asm("fprintf");
int stand_in_fprintf(std::FILE* file, const char* format, ...) {
    va_list values;
    va_start(values, format);
    const int result = write_by<int>("vfprintf", file, format, values);
    va_end(values);
    return result;
}

int checked_printf(int flag, const char* format, ...) asm("__printf_chk");
int checked_printf(int flag, const char* format, ...) {
    va_list values;
    va_start(values, format);
    const int result = write_by<int>("__vprintf_chk", flag, format, values);
    va_end(values);
    return result;
}

int checked_fprintf(std::FILE* file, int flag, const char* format, ...) asm("__fprintf_chk");
int checked_fprintf(std::FILE* file, int flag, const char* format, ...) {
    va_list values;
    va_start(values, format);
    const int result = write_by<int>("__vfprintf_chk", file, flag, format, values);
    va_end(values);
    return result;
}

} // extern "C"

} // namespace k4sim

#include "sim/machine/report.h"

#include "sim/time/keep_errno.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr char hex_digits[] = "0123456789abcdef";

void append_character(std::string& line, unsigned char c) {
    if (c == '"' || c == '\\') {
        line += '\\';
        line += static_cast<char>(c);
    } else if (c >= 0x20 && c < 0x7F) {
        line += static_cast<char>(c);
    } else {
        line += "\\u00";
        line += hex_digits[c >> 4];
        line += hex_digits[c & 15];
    }
}

void append_text(std::string& line, std::string_view text) {
    line += '"';
    for (const char c : text)
        append_character(line, static_cast<unsigned char>(c));
    line += '"';
}

void append_value(std::string& line, const Field& field) {
    if (const auto* text = std::get_if<std::string_view>(&field.value))
        append_text(line, *text);
    else if (const auto* flag = std::get_if<bool>(&field.value))
        line += *flag ? "true" : "false";
    else
        line += std::to_string(std::get<std::int64_t>(field.value));
}

} // namespace

std::string report_line(Microseconds t, std::string_view source, std::string_view what,
                        std::initializer_list<Field> fields) {
    std::string line = "{\"t\":" + std::to_string(t) + ",\"source\":";
    append_text(line, source);
    line += ",\"event\":";
    append_text(line, what);
    for (const Field& field : fields) {
        line += ',';
        append_text(line, field.name);
        line += ':';
        append_value(line, field);
    }
    line += '}';
    return line;
}

void Report::open(int descriptor) { descriptor_ = descriptor; }

void Report::close() {
    if (descriptor_ >= 0) syscall(SYS_close, descriptor_);
    descriptor_ = -1;
}

void Report::write(std::string_view line) {
    if (descriptor_ < 0) return;
    const KeepErrno keep_errno;
    std::string whole(line);
    whole += '\n';
    if (!write_fully(descriptor_, whole)) close();
}

bool write_fully(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const long written = syscall(SYS_write, descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace k4sim

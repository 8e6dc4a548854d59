#include "sim/launcher/retelling.h"

#include "sim/formats/write_all.h"
#include "sim/launcher/diagnose.h"
#include "sim/launcher/options.h"
#include "sim/story/sources.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace k4sim {

namespace {

// A page, or nothing.
bool may_replace(const std::string& name) {
    std::error_code error;
    if (!std::filesystem::exists(name, error)) return true;
    std::string head(page_head.size(), ' ');
    std::ifstream(name, std::ios::binary)
        .read(head.data(), static_cast<std::streamsize>(head.size()));
    return head == page_head;
}

} // namespace

std::string write_page(const std::string& path) {
    const bool record = std::filesystem::is_directory(path);
    std::string name = path + (record ? "/report.html" : ".html");
    Telling telling = record ? read_record(path) : read_console(path, read_file(path));
    add_diagnosis(telling);
    const std::string page = page_of(telling);
    if (!may_replace(name))
        throw UsageError(name + " is there, and no page of k4sim report: move it away");
    if (!write_whole(name, page))
        throw UsageError(name + " can't be written: " + std::strerror(errno));
    return name;
}

} // namespace k4sim

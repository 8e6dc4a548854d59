#include "sim/campaign/results.h"

#include "sim/formats/write_all.h"
#include "sim/story/sources.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/file.h>
#include <unistd.h>

namespace k4sim {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path) {
    throw std::runtime_error(path + " can't be written: " + std::strerror(errno));
}

// A file that only ever grows by whole lines.
int open_lines(const std::string& path) {
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file < 0) fail(path);
    return file;
}

// Where a writer was killed, or the disk was full.
void cut_last_line(int file, const std::string& path) {
    const std::string text = read_file(path);
    const std::size_t whole = text.rfind('\n') + 1;
    if (whole != text.size() && ftruncate(file, static_cast<off_t>(whole)) != 0) fail(path);
}

void check_identity(const std::string& path, const Json& identity) {
    const std::string wanted = identity.dump(2) + "\n";
    if (!fs::exists(path)) {
        if (!write_whole(path, wanted)) fail(path);
    } else if (read_file(path) != wanted) {
        throw std::runtime_error(path + " tells of another program, device, seed or limit; "
                                        "choose another folder, or remove this one");
    }
}

} // namespace

Results::Results(const std::string& folder, const Json& identity) {
    std::error_code error;
    fs::create_directories(folder, error);
    const std::string results = folder + "/" + std::string(results_name);
    const std::string costs = folder + "/" + std::string(costs_name);
    results_ = open_lines(results);
    if (flock(results_, LOCK_EX | LOCK_NB) != 0)
        throw std::runtime_error(folder + " is in use by another campaign");
    costs_ = open_lines(costs);
    check_identity(folder + "/" + std::string(identity_name), identity);
    cut_last_line(results_, results);
    cut_last_line(costs_, costs);
    all_ = json_lines(results);
}

Results::~Results() {
    close(costs_);
    close(results_);
}

void Results::add(const Json& result, const Json& cost) {
    if (!write_all(costs_, cost.dump() + "\n")) fail(std::string(costs_name));
    if (!write_all(results_, result.dump() + "\n")) fail(std::string(results_name));
    all_.push_back(result);
}

std::vector<Json> json_lines(const std::string& path) {
    const std::string text = read_file(path);
    std::string_view rest = text;
    std::vector<Json> lines;
    for (std::size_t end = 0; (end = rest.find('\n')) != std::string_view::npos;
         rest.remove_prefix(end + 1)) {
        std::optional<Json> line = Json::parse(rest.substr(0, end));
        if (!line || !line->has("fault"))
            throw std::runtime_error("line " + std::to_string(lines.size() + 1) + " of " + path +
                                     " is no result of a campaign");
        lines.push_back(std::move(*line));
    }
    return lines;
}

std::string run_name(const Json& result) {
    return result.text("fault").value_or("") + " on " + result.text("board").value_or("");
}

} // namespace k4sim

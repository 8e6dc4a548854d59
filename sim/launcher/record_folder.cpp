#include "sim/launcher/record_folder.h"

#include "sim/formats/write_all.h"
#include "sim/launcher/options.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/file.h>
#include <unistd.h>

namespace k4sim {

namespace {

namespace fs = std::filesystem;

constexpr mode_t file_mode = 0666;

bool all_digits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool belongs_to_record(std::string_view name) {
    if (name.ends_with(part_suffix)) name.remove_suffix(part_suffix.size());
    if (name == "events.jsonl" || name == "console.txt" || name == "report.json" ||
        name == "report.xml" || name == "report.html" || name == "oled-final.png")
        return true;
    constexpr std::string_view head = "oled-", tail = ".png";
    return name.size() > head.size() + tail.size() && name.starts_with(head) &&
           name.ends_with(tail) &&
           all_digits(name.substr(head.size(), name.size() - head.size() - tail.size()));
}

// "0012-device0-capture-7.250s.wav"
bool is_sound(std::string_view name) {
    constexpr std::size_t digits = 4;
    return name == beeps_name ||
           (name.ends_with(".wav") && name.size() > digits && all_digits(name.substr(0, digits)) &&
            name.substr(digits).starts_with("-device"));
}

bool set_content(int descriptor, std::string_view text) {
    return lseek(descriptor, 0, SEEK_SET) == 0 && ftruncate(descriptor, 0) == 0 &&
           write_all(descriptor, text);
}

std::string reason() { return std::string(" (") + std::strerror(errno) + ")"; }

[[noreturn]] void refuse_folder(const std::string& path, const std::string& why) {
    throw UsageError("--record: " + path + " " + why + "; name another folder");
}

} // namespace

RecordFolder::RecordFolder(std::string path) : path_(std::move(path)) {
    if (!keeps()) return;
    std::error_code error;
    fs::create_directories(path_, error);
    if (error || !fs::is_directory(path_, error))
        refuse_folder(path_, "can't be made a folder (" + error.message() + ")");
    const std::string marker = path_ + "/" + std::string(marker_name);
    if (!fs::is_regular_file(fs::symlink_status(marker, error)) && !fs::is_empty(path_, error))
        refuse_folder(path_, "holds files, but no record");
    marker_.number = open(marker.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, file_mode);
    if (marker_.number < 0) refuse_folder(path_, "can't be written" + reason());
    claim();
    clear();
    if (!set_content(marker_.number, "incomplete\n")) note_failure();
}

void RecordFolder::append(const std::string& name, std::string_view bytes) {
    if (!keeps() || !failure_.empty()) return;
    if (!write_file(path_ + "/" + name, O_APPEND, bytes)) note_failure();
}

void RecordFolder::write(const std::string& name, std::string_view bytes) {
    if (!keeps()) return;
    if (!write_whole(path_ + "/" + name, bytes)) note_failure();
}

void RecordFolder::remove(const std::string& name) const {
    std::error_code error;
    fs::remove(path_ + "/" + name, error);
}

std::string RecordFolder::content(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(path_ + "/" + name, std::ios::binary).rdbuf();
    return text.str();
}

void RecordFolder::complete() {
    if (keeps() && !set_content(marker_.number, "complete\n")) note_failure();
}

RecordFolder::Descriptor::~Descriptor() {
    if (number >= 0) close(number);
}

int RecordFolder::make_sound_folder() {
    const std::string path = path_ + "/" + std::string(sound_folder_name);
    std::error_code error;
    fs::create_directory(path, error);
    sound_.number = open(path.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (sound_.number < 0) note_failure();
    return sound_.number;
}

void RecordFolder::claim() {
    if (flock(marker_.number, LOCK_EX | LOCK_NB) == 0) return;
    refuse_folder(path_,
                  errno == EWOULDBLOCK ? "is in use by another run" : "can't be locked" + reason());
}

void RecordFolder::clear() const {
    remove_files(path_, belongs_to_record);
    const fs::path sound = fs::path(path_) / sound_folder_name;
    std::error_code error;
    if (!fs::is_directory(fs::symlink_status(sound, error))) return;
    remove_files(sound, is_sound);
    fs::remove(sound, error); // unless it holds anything else
}

void RecordFolder::remove_files(const fs::path& folder, bool (*belong)(std::string_view)) const {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error))
        if (belong(entry.path().filename().string()))
            if (!fs::remove(entry.path(), error) || error)
                refuse_folder(path_, "can't be emptied (" + error.message() + ")");
}

void RecordFolder::note_failure() {
    if (failure_.empty()) failure_ = std::strerror(errno);
}

} // namespace k4sim

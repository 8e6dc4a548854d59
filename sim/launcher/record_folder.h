// The folder of a record: this run's alone while the run goes on, and never anyone else's files.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace k4sim {

// The file that makes a folder a record. It holds "incomplete" until the record is whole, so also
// after a launcher that was killed.
inline constexpr std::string_view marker_name = "k4sim-record";

// The folder in it for what is played, recorded and beeped.
inline constexpr std::string_view sound_folder_name = "wave";
inline constexpr std::string_view beeps_name = "beeps.wav";

class RecordFolder {
public:
    // Made with its parents if need be. The files of an earlier record in it go, and nothing
    // else. Empty: nothing is ever written. Throws UsageError, with all left as it was, for one
    // that can't be made or written to, that holds anything but no record, or that another run
    // is using.
    explicit RecordFolder(std::string path);

    // Whether there is a folder at all.
    bool keeps() const { return !path_.empty(); }

    // More of a file. Nothing comes behind a piece that could not be written.
    void append(const std::string& name, std::string_view bytes);

    // A whole file: it is there with all its bytes, or not at all.
    void write(const std::string& name, std::string_view bytes);

    // Takes away what there is of a file that could not be written.
    void remove(const std::string& name) const;

    // What a file holds.
    std::string content(const std::string& name) const;

    // Makes the folder for sound in it. A descriptor of it, which stays open as long as this; -1,
    // and a failure, when it can't be made.
    int make_sound_folder();

    // From now on the marker holds "complete".
    void complete();

    // Why something could not be written, in the system's words; empty: all was.
    const std::string& failure() const { return failure_; }
    const std::string& path() const { return path_; }

private:
    struct Descriptor {
        int number = -1;
        ~Descriptor();
    };

    void claim();
    void clear() const;
    void remove_files(const std::filesystem::path& folder, bool (*belong)(std::string_view)) const;
    void note_failure();

    std::string path_;
    Descriptor marker_;
    Descriptor sound_;
    std::string failure_;
};

} // namespace k4sim

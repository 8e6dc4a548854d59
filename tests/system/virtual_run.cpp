#include "virtual_run.h"

#include "support/unfolded_events.h"

#include "baselib/text/astr.h"
#include "grc/display.h"
#include "grc/font.h"
#include "grc/text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wall"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wshadow"
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

namespace k4test {

namespace {

constexpr int row_height = 10;
constexpr int status_x = 70;

std::string read_file(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

int exit_status(int wait_status) {
    return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
}

Picture read_picture(const std::filesystem::path& path) {
    int width = 0;
    int height = 0;
    int channels = 0;
    stbi_uc* pixels = stbi_load(path.c_str(), &width, &height, &channels, 1);
    if (pixels == nullptr || width != picture_width || height != picture_height) {
        stbi_image_free(pixels);
        throw std::runtime_error("not a picture of the OLED: " + path.string());
    }
    Picture picture;
    for (std::size_t i = 0; i < picture.size(); ++i)
        picture[i] = static_cast<std::uint8_t>(pixels[i] / 17);
    stbi_image_free(pixels);
    return picture;
}

std::vector<std::string> command_line(const RunPlan& plan, const std::filesystem::path& folder) {
    std::vector<std::string> arguments = {K4_SIM,       "run",
                                          "--board",    plan.board,
                                          "--operator", plan.automatic_operator ? "auto" : "none",
                                          "--limit",    std::to_string(plan.limit_s),
                                          "--seed",     std::to_string(plan.seed),
                                          "--schedule", plan.schedule,
                                          "--record",   (folder / "record").string()};
    if (!plan.scenario.empty()) {
        std::ofstream(folder / "scenario.toml") << plan.scenario;
        arguments.insert(arguments.end(), {"--scenario", (folder / "scenario.toml").string()});
    }
    for (const std::string& fault : plan.faults)
        arguments.insert(arguments.end(), {"--fault", fault});
    arguments.insert(arguments.end(), {"--", K4_PROGRAM});
    arguments.insert(arguments.end(), plan.keywords.begin(), plan.keywords.end());
    return arguments;
}

void draw(GRCdisplay& display, int x, std::string_view characters) {
    GRCfont font;
    font.setfont(F9x5p);
    GRCtext text;
    text.font(font, 0);
    text.color(15, 0, 0);
    text.position({x, 0});
    text.text(KLTastr(std::string(characters).c_str()));
    text.draw(display);
}

void read_record(const std::filesystem::path& record, RunResult& result) {
    result.console = read_file(record / "console.txt");
    result.events_text = read_file(record / "events.jsonl");
    result.events = unfolded_events(result.events_text);
    for (const nlohmann::json& event : result.events) {
        const std::string what = event.value("event", "");
        if (what != "picture" && what != "final-picture") continue;
        const Picture picture = read_picture(record / event.at("file").get<std::string>());
        if (what == "picture")
            result.pictures.push_back(picture);
        else
            result.final_picture = picture;
    }
    result.report = nlohmann::json::parse(read_file(record / "report.json"));
}

} // namespace

CommandResult run_command(const std::vector<std::string>& arguments) {
    ScratchFolder folder;
    const std::string out = folder.path() / "out";
    const std::string error = folder.path() / "error";
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    const pid_t child = fork();
    if (child == 0) {
        if (std::freopen("/dev/null", "r", stdin) == nullptr ||
            std::freopen(out.c_str(), "w", stdout) == nullptr ||
            std::freopen(error.c_str(), "w", stderr) == nullptr)
            _exit(126);
        execv(argv[0], argv.data());
        _exit(127);
    }
    int wait_status = 0;
    if (child < 0 || waitpid(child, &wait_status, 0) != child)
        throw std::runtime_error("cannot run " + arguments.front());
    return {exit_status(wait_status), read_file(out), read_file(error)};
}

bool RunResult::console_has(std::string_view line) const {
    return ("\n" + console).find("\n" + std::string(line) + "\n") != std::string::npos;
}

int RunResult::count_events(std::string_view source, std::string_view what) const {
    return static_cast<int>(std::count_if(events.begin(), events.end(), [&](const auto& event) {
        return event.value("source", "") == source &&
               (what.empty() || event.value("event", "") == what);
    }));
}

double RunResult::seconds() const {
    return events.empty() ? 0.0 : events.back().at("t").get<double>() / 1e6;
}

std::string RunResult::verdict() const { return report.value("verdict", ""); }

const Picture& RunResult::last_lit() const {
    static const Picture nothing{};
    const auto lit = std::find_if(pictures.rbegin(), pictures.rend(),
                                  [](const Picture& picture) { return !all_of_grey(picture, 0); });
    if (lit == pictures.rend()) {
        ADD_FAILURE() << "no lit picture on the OLED";
        return nothing;
    }
    return *lit;
}

RunResult run_on_virtual_k4(const RunPlan& plan) {
    ScratchFolder folder;
    const CommandResult command = run_command(command_line(plan, folder.path()));
    RunResult result;
    result.status = command.status;
    result.live = command.out;
    result.error = command.error;
    if (std::filesystem::exists(folder.path() / "record"))
        read_record(folder.path() / "record", result);
    return result;
}

std::string one_a_second(const std::vector<std::string>& actions) {
    std::string scenario;
    int second = 3;
    for (const std::string& action : actions)
        scenario += "[[step]]\nat = " + std::to_string(second++) + "\ndo = \"" + action + "\"\n";
    return scenario;
}

testing::AssertionResult row_shows(const Picture& picture, int row, std::string_view label,
                                   std::string_view status) {
    GRCdisplay expected;
    expected.init(picture_width, row_height);
    draw(expected, 0, label);
    draw(expected, status_x, status);
    const int top = row * row_height;
    for (int y = 0; y < row_height && top + y < picture_height; ++y)
        for (int x = 0; x < picture_width; ++x)
            if (expected.grey(x, y) !=
                picture[static_cast<std::size_t>((top + y) * picture_width + x)])
                return testing::AssertionFailure()
                       << "row " << row << " is not \"" << label << "\" \"" << status << "\":\n"
                       << as_text(picture);
    return testing::AssertionSuccess();
}

bool row_ever_shows(const RunResult& run, int row, std::string_view label,
                    std::string_view status) {
    return std::any_of(run.pictures.begin(), run.pictures.end(), [&](const Picture& picture) {
        return bool{row_shows(picture, row, label, status)};
    });
}

bool all_of_grey(const Picture& picture, int grey) {
    return std::all_of(picture.begin(), picture.end(), [&](int level) { return level == grey; });
}

std::string as_text(const Picture& picture) {
    std::string text;
    for (int y = 0; y < picture_height; ++y) {
        for (int x = 0; x < picture_width; ++x)
            text += picture[static_cast<std::size_t>(y * picture_width + x)] > 7 ? '#' : '.';
        text += '\n';
    }
    return text;
}

} // namespace k4test

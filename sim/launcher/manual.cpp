#include "sim/launcher/manual.h"

#include "sim/launcher/commands.h"

#include <algorithm>
#include <iterator>

namespace k4sim {

namespace {

std::string replaced(std::string text, std::string_view what, std::string_view by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
    return text;
}

// For troff: what is between backticks is bold.
std::string troff(std::string_view plain) {
    std::string text;
    bool bold = false;
    for (const char c : plain) {
        if (c == '`') bold = !bold;
        if (c == '`')
            text += bold ? "\\fB" : "\\fR";
        else if (c == '-')
            text += "\\-";
        else
            text += c == '\\' ? std::string("\\e") : std::string(1, c);
    }
    return text.starts_with('.') || text.starts_with('\'') ? "\\&" + text : text;
}

// In one line of troff's, whose quotes are its own.
std::string troff_argument(std::string_view plain) {
    return "\"" + replaced(troff(plain), "\"", "\\(dq") + "\"";
}

std::string meaning_of(const Option& option) {
    const std::string meaning(option.meaning);
    return option.more.empty() ? meaning : meaning + "; " + std::string(option.more);
}

std::string called(const Option& option) {
    return std::string(option.name) + (option.values.empty() ? "" : " " + option.values);
}

std::string man_options(const std::vector<Option>& options) {
    std::string text;
    for (const Option& option : options)
        text +=
            ".TP\n.B " + troff_argument(called(option)) + "\n" + troff(meaning_of(option)) + "\n";
    return text;
}

std::string markdown_options(const std::vector<Option>& options) {
    std::string text = "| option | meaning, and in brackets what it is unless told |\n"
                       "| --- | --- |\n";
    for (const Option& option : options)
        text += "| `" + replaced(called(option), "|", "\\|") + "` | " +
                replaced(meaning_of(option), "|", "\\|") + " |\n";
    return text;
}

std::string man_commands(const std::vector<Option>& told_already) {
    std::string text;
    for (const CommandForm& form : command_table()) {
        if (form.what.empty()) continue;
        text += ".SS " + troff_argument(form_text(form)) + "\n" + troff(form.what) + ".\n";
        for (const std::vector<Option>* const options : form.options)
            if (options != &told_already) text += man_options(*options);
        if (!form.notes.empty()) text += ".PP\n" + troff(form.notes);
    }
    return text;
}

std::string man_examples() {
    std::string text;
    for (const CommandForm& form : command_table())
        for (const auto& [line, what] : form.examples)
            text += ".TP\n.B " + troff_argument("k4sim " + std::string(line)) + "\n" + troff(what) +
                    "\n";
    return text;
}

} // namespace

std::string manual_part(const std::string& format, const std::string& topic) {
    const std::vector<Option>& run = *find_command("run")->options.front();
    if (format == "markdown" && topic == "options") return markdown_options(run);
    if (format == "man" && topic == "options") return man_options(run);
    if (format == "man" && topic == "commands") return man_commands(run);
    if (format == "man" && topic == "examples") return man_examples();
    return {};
}

} // namespace k4sim

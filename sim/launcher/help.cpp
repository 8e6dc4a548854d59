#include "sim/launcher/help.h"

#include "sim/launcher/commands.h"

namespace k4sim {

namespace {

constexpr std::size_t meaning_column = 40;

// What is told, and beside it, or below where it is long, what it means.
std::string in_two_columns(std::string left, std::string_view meaning) {
    left.insert(0, "  ");
    if (left.size() + 2 > meaning_column) left += "\n";
    const std::size_t line = left.back() == '\n' ? left.size() : 0;
    left.resize(line + meaning_column, ' ');
    return left.append(meaning).append("\n");
}

std::string help_of_all() {
    std::string text = "k4sim runs an unmodified program on a virtual K/4.\n\n";
    for (const CommandForm& form : command_table())
        if (!form.what.empty()) text += in_two_columns(form_text(form), form.what);
    return text + "\nk4sim COMMAND --help tells about one of them, with examples.\n"
                  "k4sim --version tells which one this is.\n"
                  "Exit status 2: this command line can't be carried out.\n";
}

std::string help_of(const CommandForm& form) {
    std::string text = form_text(form) + "\n" + std::string(form.what) + "\n";
    if (!form.options.empty()) text += "\n";
    for (const std::vector<Option>* const options : form.options)
        for (const Option& option : *options)
            text += in_two_columns(std::string(option.name) + " " + option.values, option.meaning);
    text += "\nFor example:\n";
    for (const auto& [line, what] : form.examples)
        text.append("\n  k4sim ").append(line).append("\n      ").append(what).append("\n");
    if (form.notes.empty()) return text;
    return text.append("\n").append(form.notes);
}

} // namespace

std::string help(const std::string& topic) {
    return topic.empty() ? help_of_all() : help_of(*find_command(topic));
}

} // namespace k4sim

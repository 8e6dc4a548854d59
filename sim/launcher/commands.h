// All that k4sim can be called for: one table, from which command lines are read, refused,
// explained and completed.
#pragma once

#include "sim/launcher/options.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// One option. In `values`, and in the operands of a command, words in capitals stand for
// something (completion.cpp knows for what), those in small letters, joined by "|", for themselves.
struct Option {
    std::string_view name;
    std::string values; // empty: it takes none
    std::string_view meaning;
    void (*set)(Options& options, const std::string& value);
    std::string_view more{}; // what documents add to it; what is between backticks is said so
};

// As said in the command line.
struct Said {
    const Option* option;
    std::string value;
};

struct Example {
    std::string_view line; // after "k4sim "
    std::string_view what;
};

struct CommandForm {
    enum class Reading {
        options, // anywhere in the line
        program, // before a program, whose arguments are its own
        words    // none: each word is an operand
    };

    Command command;
    std::string_view name;
    std::string_view operands;
    std::string_view what; // empty: for k4sim's own use, listed nowhere
    std::vector<const std::vector<Option>*> options;
    std::vector<Example> examples;
    std::size_t least, most; // operands
    // Fills `options` from what was said. Throws UsageError.
    void (*take)(Options& options, const std::vector<Said>& said,
                 const std::vector<std::string>& operands);
    Reading reading = Reading::options;
    std::string_view notes{}; // whole lines, at the end of its help
};

std::span<const CommandForm> command_table();

// Null when there is none of that name.
const CommandForm* find_command(std::string_view name);
const Option* find_option(const CommandForm& form, std::string_view name);

// Of the commands that are listed.
std::vector<std::string_view> command_names();
std::vector<std::string_view> option_names(const CommandForm& form);

// "k4sim NAME [OPTION]... OPERANDS".
std::string form_text(const CommandForm& form);

} // namespace k4sim

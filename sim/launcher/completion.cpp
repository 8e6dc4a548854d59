#include "sim/launcher/completion.h"

#include "sim/launcher/commands.h"
#include "sim/launcher/verdict.h"
#include "sim/models/faults.h"
#include "sim/models/universe.h"
#include "sim/setup_choices.h"
#include "sim/story/sources.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>

namespace k4sim {

namespace {

using Texts = std::vector<std::string>;

Texts texts_of(const std::vector<std::string_view>& views) { return {views.begin(), views.end()}; }

Texts split(std::string_view text, char separator) {
    Texts parts;
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = text.find(separator);
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(text.size(), end == std::string_view::npos ? end : end + 1));
    }
    return parts;
}

Texts with_prefix(std::string_view prefix, Texts texts) {
    for (std::string& text : texts)
        text.insert(0, prefix);
    return texts;
}

Texts site_faults() {
    std::set<std::string> found;
    for (const auto& [board, name] : boards)
        for (const SiteFault& one : universe(board))
            if (is_site(one.fault)) found.insert(one.fault);
    return {found.begin(), found.end()};
}

// NAME[=VALUE]; of a value that is no word, an example. Those of sites once there is a dot.
Texts faults_for(std::string_view typed) {
    if (is_site(typed.substr(0, typed.find('=')))) return site_faults();
    Texts offers;
    const Fault* const fault = find_fault(typed.substr(0, typed.find('=')));
    if (fault != nullptr && fault->value_syntax.find('|') != std::string_view::npos)
        return with_prefix(std::string(fault->name) + "=", split(fault->value_syntax, '|'));
    if (fault != nullptr) return {fault_example(*fault)};
    for (const Fault& one : fault_list())
        offers.push_back(std::string(one.name) + (one.value == Fault::Value::none ? "" : "="));
    return offers;
}

// The next one of a list with commas.
Texts one_more(std::string_view typed, const std::vector<std::string_view>& words) {
    const std::size_t comma = typed.rfind(',');
    const std::size_t before = comma == std::string_view::npos ? 0 : comma + 1;
    return with_prefix(typed.substr(0, before), texts_of(words));
}

Texts verdicts_for(std::string_view typed) { return one_more(typed, verdict_words()); }
Texts boards_for(std::string_view typed) { return one_more(typed, names_of(boards)); }

Texts roles_for(std::string_view typed) { return one_more(typed, names_of(roles)); }

// What the words in capitals of the table of commands stand for.
struct Meaning {
    std::string_view word;
    Texts (*offers)(std::string_view typed);
};

constexpr Meaning meanings[] = {
    {"NAME[=VALUE][@SECONDS]", faults_for},
    {"VERDICT[,VERDICT]", verdicts_for},
    {"BOARD[,BOARD]", boards_for},
    {"ROLE[,ROLE]", roles_for},
    {"PATTERN", [](std::string_view) { return texts_of(fault_names()); }},
    {"COMMAND", [](std::string_view) { return texts_of(command_names()); }},
    {"PROGRAM",
     [](std::string_view) {
         return Texts{"k4selftest", "<programs"};
     }},
    {"ARGUMENT", [](std::string_view) { return Texts{"<files"}; }},
    {"FILE", [](std::string_view) { return Texts{"<files"}; }},
    {"FILE.toml", [](std::string_view) { return Texts{"<toml"}; }},
    {"ROW=TEXT",
     [](std::string_view) {
         Texts rows;
         for (const std::string_view row : row_names)
             if (row.find(' ') == std::string_view::npos) rows.push_back(std::string(row) + "=");
         return rows;
     }},
    {"DIR", [](std::string_view) { return Texts{"<folders"}; }},
};

Texts offers_for(std::string_view values, std::string_view typed) {
    Texts offers;
    for (const std::string& value : split(values, '|')) {
        const auto known = std::ranges::find(meanings, value, &Meaning::word);
        if (known != std::end(meanings))
            std::ranges::copy(known->offers(typed), std::back_inserter(offers));
        else if (std::ranges::none_of(value, [](unsigned char c) { return std::isupper(c); }))
            offers.push_back(value);
    }
    return offers;
}

// The number-th of "[--] PROGRAM [ARGUMENT]..." without its brackets; the last one may be many.
std::string operand_at(std::string_view operands, std::size_t number) {
    std::string found;
    for (std::string word : split(operands, ' ')) {
        const bool many = word.ends_with("...");
        std::erase_if(word, [](char c) { return c == '[' || c == ']'; });
        if (word == "--") continue;
        found = word.substr(0, word.size() - (many ? 3 : 0));
        if (number == 0 || many) return found;
        --number;
    }
    return "";
}

bool is_separator(const std::string& word) { return word == "=" || word == ":" || word == "@"; }

// The words of a command line before they were split.
Texts rejoined(const Texts& words) {
    Texts whole;
    bool join = false;
    for (const std::string& word : words) {
        if (!whole.empty() && (join || is_separator(word)))
            whole.back() += word;
        else
            whole.push_back(word);
        join = is_separator(word);
    }
    return whole;
}

// words: from the name of the command on.
Texts offers_of(const CommandForm& form, const Texts& words) {
    using Reading = CommandForm::Reading;
    bool reads_options = form.reading != Reading::words;
    std::size_t operands = 0;
    for (std::size_t i = 1; i + 1 < words.size(); ++i) {
        const bool is_option = reads_options && words[i].starts_with("-") && words[i] != "-";
        if (words[i] == "--") {
            reads_options = false;
        } else if (!is_option) {
            ++operands;
            reads_options = reads_options && form.reading == Reading::options;
        } else if (const Option* const option = find_option(form, words[i]);
                   option != nullptr && !option->values.empty()) {
            if (++i + 1 == words.size()) return offers_for(option->values, words[i]);
        }
    }
    const std::string& typed = words.back();
    if (!reads_options || !typed.starts_with("-"))
        return offers_for(operand_at(form.operands, operands), typed);
    const std::size_t equals = typed.find('=');
    if (equals == std::string::npos) {
        Texts names = texts_of(option_names(form));
        names.push_back("--help");
        return names;
    }
    const Option* const option = find_option(form, std::string_view(typed).substr(0, equals));
    if (option == nullptr) return {};
    return with_prefix(typed.substr(0, equals + 1),
                       offers_for(option->values, std::string_view(typed).substr(equals + 1)));
}

} // namespace

std::string completions(const std::vector<std::string>& words) {
    const Texts whole = rejoined(words);
    if (whole.empty()) return "";
    Texts offers = texts_of(command_names());
    if (whole.size() > 1) {
        const CommandForm* const form = find_command(whole[0]);
        if (form == nullptr) return "";
        offers = offers_of(*form, whole);
    }
    // The shell has only what follows a separator for the word that is typed.
    const std::size_t typed = is_separator(words.back()) ? 0 : words.back().size();
    const std::size_t before = whole.back().size() - typed;
    std::string text;
    for (const std::string& offer : offers) {
        const std::size_t kind = offer.find('<');
        if (kind != std::string::npos)
            text += offer.substr(kind) + "\n";
        else if (offer.starts_with(whole.back()))
            text += offer.substr(before) + "\n";
    }
    return text;
}

} // namespace k4sim

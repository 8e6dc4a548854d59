#include "sim/launcher/options.h"

#include "sim/launcher/commands.h"
#include "sim/models/nearest.h"

namespace k4sim {

namespace {

bool asks_for_help(const std::string& word) { return word == "--help" || word == "-h"; }

// "k4sim run, k4sim check ... or k4sim --help".
std::string all_commands() {
    std::string text;
    for (const std::string_view name : command_names())
        if (name != "help") text.append("k4sim ").append(name).append(", ");
    text.erase(text.size() - 2);
    return text + " or k4sim --help";
}

// The option at `i`, which moves on to a value that is an argument of its own.
Said take_option(const CommandForm& form, const std::vector<std::string>& arguments,
                 std::size_t& i) {
    const std::string help = "; k4sim " + std::string(form.name) + " --help ";
    const std::size_t equals = arguments[i].find('=');
    const std::string name = arguments[i].substr(0, equals);
    const Option* const option = find_option(form, name);
    if (option == nullptr)
        throw UsageError("there is no option " + name + help + "lists them all" +
                         did_you_mean(name, option_names(form)));
    const bool takes_value = !option->values.empty();
    if (equals != std::string::npos) {
        if (!takes_value) throw UsageError(name + " takes no value: write just " + name);
        return {option, arguments[i].substr(equals + 1)};
    }
    if (!takes_value) return {option, ""};
    if (i + 1 >= arguments.size()) throw UsageError(name + " needs a value" + help + "tells which");
    return {option, arguments[++i]};
}

// arguments: from the name of the command on.
Options parse_command(const CommandForm& form, const std::vector<std::string>& arguments) {
    using Reading = CommandForm::Reading;
    Options options;
    std::vector<Said> said;
    std::vector<std::string> operands;
    bool reads_options = form.reading != Reading::words;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (reads_options && word == "--") {
            reads_options = false;
        } else if (reads_options && asks_for_help(word)) {
            options.topic = form.name;
            return options;
        } else if (reads_options && word.size() > 1 && word[0] == '-') {
            said.push_back(take_option(form, arguments, i));
        } else {
            operands.push_back(word);
            reads_options = reads_options && form.reading == Reading::options;
        }
    }
    if (operands.size() < form.least || operands.size() > form.most)
        throw UsageError("there is no k4sim " + std::string(form.name) + " of that form; say " +
                         form_text(form));
    options.command = form.command;
    form.take(options, said, operands);
    return options;
}

} // namespace

Options parse_options(const std::vector<std::string>& arguments) {
    if (arguments.empty()) throw UsageError("nothing to do; say " + all_commands());
    if (asks_for_help(arguments[0])) return {};
    if (arguments[0] == "--version") {
        Options options;
        options.command = Command::version;
        return options;
    }
    const CommandForm* const form = find_command(arguments[0]);
    if (form == nullptr)
        throw UsageError("there is no command \"" + arguments[0] + "\"; say " + all_commands() +
                         did_you_mean(arguments[0], command_names()));
    return parse_command(*form, arguments);
}

} // namespace k4sim

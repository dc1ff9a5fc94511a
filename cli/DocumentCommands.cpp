// roi manual, roi completion: what the command line says of itself, for man and for bash.
#include <fmt/format.h>

#include <string_view>
#include <vector>

#include "cli/Commands.h"

namespace host::cli {

namespace {

std::vector<const CLI::App*> CommandsOf(const CLI::App& roi) {
    return roi.get_subcommands([](const CLI::App*) { return true; });
}

// For man: a point at the start of a line would be a request, and a bare minus is a hyphen.
std::string Roff(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        if ((character == '.' || character == '\'') && (escaped.empty() || escaped.back() == '\n')) {
            escaped += "\\&";
        }
        if (character == '\\') {
            escaped += "\\e";
        } else if (character == '-') {
            escaped += "\\-";
        } else {
            escaped += character;
        }
    }
    return escaped;
}

std::string ManualOf(const CLI::Option& option) {
    const std::string name = option.nonpositional() ? option.get_name(false, true) : option.get_name(true);
    return fmt::format(".TP\n\\fB{}\\fR{}\n{}\n", Roff(name), Roff(CLI::Formatter().make_option_opts(&option)),
                       Roff(option.get_description()));
}

std::string UsageOf(const CLI::App& app, const std::string& name) {
    constexpr std::string_view kLabel = "Usage: ";
    const std::string usage = CLI::Formatter().make_usage(&app, name);
    return usage.substr(kLabel.size(), usage.find('\n') - kLabel.size());
}

// A footer keeps its lines.
std::string FooterOf(const CLI::App& app) { return fmt::format(".PP\n.nf\n{}\n.fi\n", Roff(app.get_footer())); }

std::string OptionsOf(const CLI::App& app) {
    std::string text;
    for (const CLI::Option* option : app.get_options()) {
        text += ManualOf(*option);
    }
    return text;
}

std::string Manual(const CLI::App& roi) {
    std::string text = fmt::format(".TH ROI 1 \"\" \"{}\" \"User Commands\"\n.SH NAME\nroi \\- {}\n", roi.version(),
                                   Roff(roi.get_description()));
    text += fmt::format(".SH SYNOPSIS\n{}\n.SH OPTIONS\n{}.SH COMMANDS\n", Roff(UsageOf(roi, "roi")), OptionsOf(roi));
    for (const CLI::App* command : CommandsOf(roi)) {
        text += fmt::format(".SS {}\n{}\n{}{}", Roff(UsageOf(*command, "roi " + command->get_name())),
                            Roff(command->get_description()), OptionsOf(*command), FooterOf(*command));
    }
    return text + ".SH EXIT STATUS\n" + FooterOf(roi);
}

std::string NamesOfOptions(const CLI::App& command) {
    std::string names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names += (names.empty() ? "--" : " --") + name;
        }
    }
    return names;
}

// The values of an option whose type names them all, with bars between.
std::string ChoicesOf(const CLI::App& command) {
    std::string rows;
    for (const CLI::Option* option : command.get_options()) {
        const std::string values = option->get_type_name();
        if (option->nonpositional() && values.find('|') != std::string::npos) {
            rows += fmt::format("        \"{} --{}\") words=\"{}\" ;;\n", command.get_name(),
                                option->get_lnames().front(), CLI::detail::find_and_replace(values, "|", " "));
        }
    }
    return rows;
}

std::string Completion(const CLI::App& roi) {
    std::string names;
    std::string choices;
    std::string options;
    for (const CLI::App* command : CommandsOf(roi)) {
        names += (names.empty() ? "" : " ") + command->get_name();
        choices += ChoicesOf(*command);
        options +=
            fmt::format("        \"{} \"*\" -\"*) words=\"{}\" ;;\n", command->get_name(), NamesOfOptions(*command));
    }
    return fmt::format(
        R"(# Completion for bash: commands, their options, the values of those that have few; files for the rest.
_roi() {{
    local word="${{COMP_WORDS[COMP_CWORD]}}" before="${{COMP_WORDS[COMP_CWORD - 1]}}" command="${{COMP_WORDS[1]}}" words=""
    case "$command $before" in
{}        *) [[ $COMP_CWORD -gt 1 ]] || words="{} {}" ;;
    esac
    [[ -n "$words" ]] || case "$command $before $word" in
{}    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}}
complete -o default -F _roi roi
)",
        choices, names, NamesOfOptions(roi), options);
}

}  // namespace

void AddManualCommand(CLI::App& roi) {
    CLI::App& command = AddCommand(roi, "manual", "Prints the manual page, for man", "roi manual > roi.1");
    command.callback([&roi] { WriteStdout(Manual(roi)); });
}

void AddCompletionCommand(CLI::App& roi) {
    CLI::App& command =
        AddCommand(roi, "completion", "Prints the completion for bash, which sources it", "roi completion > roi.bash");
    command.callback([&roi] { WriteStdout(Completion(roi)); });
}

}  // namespace host::cli

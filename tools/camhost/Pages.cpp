#include "Pages.h"

#include "Revision.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <functional>
#include <map>

namespace maravel::camhost {
namespace {

using Visit = std::function<void(const CLI::Option&)>;

// Without --help, which every command has.
void ForEachOption(const CLI::App& app, bool positional, const Visit& visit)
{
    const auto options =
        app.get_options([&](const CLI::Option* option) { return option->get_positional() == positional; });
    for (const CLI::Option* option : options) {
        if (option != app.get_help_ptr() && !option->get_group().empty()) {
            visit(*option);
        }
    }
}

void ForEachCommand(const CLI::App& app, const std::function<void(const CLI::App&)>& visit)
{
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        visit(*command);
    }
}

// Text that troff takes as it stands.
std::string Plain(const std::string& text)
{
    std::string plain;
    bool lineBegins = true;
    for (const char c : text) {
        if (lineBegins && (c == '.' || c == '\'')) {
            plain += "\\&";
        }
        lineBegins = c == '\n';
        plain += c == '\\' ? "\\e" : c == '-' ? "\\-" : c == '\'' ? "\\(aq" : std::string(1, c);
    }
    return plain;
}

// What stands behind an option's name, such as " FILE" or " UINT [1]".
std::string Argument(const CLI::App& app, const CLI::Option& option)
{
    const auto formatter = std::dynamic_pointer_cast<CLI::Formatter>(app.get_formatter());
    return formatter->make_option_opts(&option);
}

void AddOptions(std::string& page, const CLI::App& app)
{
    // A tagged paragraph's tag is one line: name and argument are put together.
    const Visit visit = [&](const CLI::Option& option) {
        const std::string argument = option.get_positional() ? "" : Plain(Argument(app, option));
        page += ".TP\n\\fB" + Plain(option.get_name(option.get_positional())) + "\\fR" + argument + "\n" +
                Plain(option.get_description()) + "\n";
    };
    ForEachOption(app, true, visit);
    ForEachOption(app, false, visit);
}

std::string BuildDay()
{
    using namespace std::chrono;
    const year_month_day day(floor<days>(sys_seconds(seconds(MARAVEL_BUILD_DATE))));
    char text[32];
    std::snprintf(text, sizeof(text), "%04d-%02u-%02u", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
    return text;
}

std::string ManPage(const CLI::App& app)
{
    std::string page = ".TH CAMHOST 1 " + BuildDay() + " \"camhost " MARAVEL_PROJECT_VERSION "\"\n" +
                       ".SH NAME\ncamhost \\- acquires images from industrial cameras\n.SH SYNOPSIS\n" +
                       ".B camhost\n[OPTIONS] COMMAND [ARGUMENTS]\n.SH DESCRIPTION\n" +
                       Plain(app.get_description()) + "\n.PP\n.nf\n" + Plain(app.get_footer()) +
                       "\n.fi\n.SH OPTIONS\n";
    AddOptions(page, app);
    page += ".SH COMMANDS\n";
    ForEachCommand(app, [&](const CLI::App& command) {
        page += ".SS " + command.get_name() + "\n" + Plain(command.get_description()) + "\n";
        AddOptions(page, command);
        if (command.get_footer() != app.get_footer()) { // which is handed down
            page += ".PP\n" + Plain(command.get_footer()) + "\n";
        }
    });
    page += ".SH ENVIRONMENT\n.TP\n.B ZORVIK_HOME\nThe SDK folder, whose bin holds ZvkC.dll and "
            "ZvkImageTransform.dll.\n.TP\n.B MARAVEL_PLATFORM_ROOT\nThe folder that stands for the machine's "
            "registry and documents; without it ~/.local/state/maravel.\n";
    return page;
}

struct Completion
{
    std::string words;                         // of one command
    std::map<std::string, std::string> values; // of an option; "FILE" where it is a path, empty: anything
};

void AddWords(Completion& completion, const CLI::App& app)
{
    ForEachOption(app, false, [&](const CLI::Option& option) {
        const std::string name = option.get_name();
        completion.words += (completion.words.empty() ? "" : " ") + name;
        if (option.get_items_expected_max() == 0) {
            return;
        }
        const std::string type = option.get_type_name(); // the words that it takes stand in braces
        const std::size_t open = type.find('{'), close = type.find('}');
        std::string value;
        if (close != std::string::npos && open < close) {
            value = type.substr(open + 1, close - open - 1);
        }
        else if (name == "--out" || Argument(app, option).find("FILE") != std::string::npos ||
                 Argument(app, option).find("DIR") != std::string::npos) {
            value = "FILE";
        }
        for (char& c : value) {
            c = c == ',' ? ' ' : c;
        }
        completion.values[name] = value;
    });
}

std::string BashCompletion(const CLI::App& app)
{
    Completion global{"--help", {}};
    AddWords(global, app);
    std::string names, cases;
    ForEachCommand(app, [&](const CLI::App& command) {
        Completion own;
        AddWords(own, command);
        names += (names.empty() ? "" : " ") + command.get_name();
        cases += "    " + command.get_name() + ") words+=' " + own.words + "' ;;\n";
        global.values.merge(own.values);
    });
    std::string alternatives = names;
    for (char& c : alternatives) {
        c = c == ' ' ? '|' : c;
    }
    std::string values;
    for (const auto& [option, words] : global.values) {
        values += "    " + option + ") " +
                  (words == "FILE" ? "return"
                   : words.empty() ? "compopt +o default; return"
                                   : "COMPREPLY=($(compgen -W '" + words + "' -- \"$word\")); return") +
                  " ;;\n";
    }
    return "# Completion of camhost's words in bash.\n"
           "_camhost()\n{\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} command= i\n"
           "    COMPREPLY=()\n"
           "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
           "        case ${COMP_WORDS[i]} in " +
           alternatives +
           ") command=${COMP_WORDS[i]}; break ;; esac\n"
           "    done\n"
           "    case ${COMP_WORDS[COMP_CWORD - 1]} in\n" +
           values + "    esac\n    local words='" + global.words +
           "'\n    case $command in\n    '') words+=' " + names + "' ;;\n" + cases +
           "    esac\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
           "}\n"
           "complete -o default -F _camhost camhost\n";
}

} // namespace

std::string PageOf(const CLI::App& app, const std::string& name)
{
    return name == "man" ? ManPage(app) : name == "bash-completion" ? BashCompletion(app) : "";
}

} // namespace maravel::camhost
